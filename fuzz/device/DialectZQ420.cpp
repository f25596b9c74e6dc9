// Input: what the pump ZQ-420 says by itself, in pieces.
// Checks: detection and data are what the frames of the whole text say, however it was split, and the host hears of
// each change; a running time has its form, and is that of the frame where all four numbers are short.
#include <array>
#include <optional>
#include <regex>

#include "support/DeviceBench.h"

namespace {

using fuzz::Require;

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> fields(1);
  for (const char character : text) {
    if (character == ';') {
      fields.emplace_back();
    } else {
      fields.back() += character;
    }
  }
  return fields;
}

/// Of fields of one to four digits each; nothing for others.
std::optional<std::string> RunTimeOf(const std::string& frame) {
  static const std::regex form("t;([0-9]{1,4});([0-9]{1,4});([0-9]{1,4});([0-9]{1,4})");
  std::smatch found;
  if (!std::regex_match(frame, found, form)) {
    return std::nullopt;
  }
  const auto number = [&found](std::size_t n) { return std::stoi(found[n]); };
  const auto padded = [&number](std::size_t n) { return (number(n) < 10 ? "0" : "") + std::to_string(number(n)); };
  return std::to_string((number(1) == 255 ? 0 : number(1)) * 24 + number(2)) + ':' + padded(3) + ':' + padded(4);
}

struct Meaning {
  bool bDetected = false;
  int iData = 0;
  std::array<std::string, 3> data;
  bool bRunTime = false;
  std::optional<std::string> runTime;

  void Take(const std::string& frame) {
    if (frame == "p") {
      bDetected = true;
    } else if (frame.find("d;") != std::string::npos) {
      ++iData;
      const std::string rest = frame.substr(2);
      const std::vector<std::string> fields = Split(rest);
      data = {fields[0], fields.size() > 1 ? fields[1] : "", ""};
      const std::size_t nBoth = data[0].size() + data[1].size() + 2;
      data[2] = nBoth <= rest.size() ? rest.substr(nBoth) : "";
    } else if (frame.find("t;") != std::string::npos) {
      bRunTime = true;
      runTime = RunTimeOf(frame);
    }
  }
};

void CheckRunTime(const Meaning& meaning, const std::string& runTime) {
  if (!meaning.bRunTime) {
    return Require(runTime.empty(), "no running time that nobody told");
  }
  Require(Split(runTime).size() == 1 && std::count(runTime.begin(), runTime.end(), ':') == 2 &&
              runTime.find_first_not_of("0123456789:-") == std::string::npos,
          "a running time has its form");
  if (meaning.runTime) {
    fuzz::RequireEqual(runTime, *meaning.runTime, "the running time is that of the frame");
  }
}

void Check(std::string_view input) {
  const std::vector<fuzz::Piece> pieces = fuzz::TakePieces(input.substr(0, photometer::FrameReader::CAPACITY));
  Meaning meaning;
  for (const std::string& frame : fuzz::FramesOf(fuzz::Joined(pieces))) {
    meaning.Take(frame);
  }
  fuzz::DeviceBench bench(fuzz::FarEnd::ZQ420);
  bench.Hear(pieces);
  const photometer::PumpInfo info = bench.Info();
  Require(bench.Detected() == meaning.bDetected && bench.host.iConnected == (meaning.bDetected ? 1 : 0),
          "detected, once, with the first answer to a ping");
  Require(bench.host.iInfo == meaning.iData + (meaning.bDetected ? 1 : 0), "the host hears of each change");
  fuzz::RequireEqual(info.m_strSipperData1, meaning.data[0], "first field");
  fuzz::RequireEqual(info.m_strSipperData2, meaning.data[1], "second field");
  fuzz::RequireEqual(info.m_strPumpVersion, meaning.data[2], "version: all the rest");
  CheckRunTime(meaning, info.m_strSipperRunTime);
}

const fuzz::Target target("DialectZQ420", Check);

}  // namespace
