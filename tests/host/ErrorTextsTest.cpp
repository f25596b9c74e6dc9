#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ErrorTexts.h"

namespace host {
namespace {

using testing::HasSubstr;

/// The library's sources without the rooms that know no instrument.
std::map<std::string, std::string> Sources() {
  std::map<std::string, std::string> sources;
  for (const char* room : {"calibration", "device", "monitors", "optics", "procedures", "pumps", "state"}) {
    const std::filesystem::path folder = std::filesystem::path(PHOTOMETER_SOURCE_FOLDER) / "src" / room;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      std::ostringstream text;
      text << std::ifstream(entry.path()).rdbuf();
      sources[entry.path().filename()] = text.str();
    }
  }
  return sources;
}

using Found = std::multimap<LONG, std::string>;

/// Adds the numbers of all matches: the groups from the second on, beside the first one, their name.
void AddMatches(const std::string& pattern, const std::map<std::string, std::string>& sources, Found& found) {
  const std::regex expression(pattern);
  for (const auto& [file, text] : sources) {
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match) {
      for (std::size_t i = 2; i < match->size(); ++i) {
        found.emplace(std::stoi((*match)[i]), file + " " + (*match)[1].str());
      }
    }
  }
}

/// Every number that the library's sources name as the result of an operation, with its place.
Found NumbersOfTheSources() {
  const auto sources = Sources();
  Found numbers;
  AddMatches(R"((\.dwSilence|\.dwTooLong|\.dwWrite) = (\d+))", sources, numbers);
  AddMatches(R"re(\{("\\x02[^"]+"), (\d+)\})re", sources, numbers);
  // Results of procedures are of three digits and more, or below −1; so are times and lengths, which say so.
  Found constants;
  AddMatches(R"(constexpr (?:DWORD|LONG) (\w+) = (-?\d+);)", sources, constants);
  const std::regex measure(
      "LIMIT|PAUSE|DELAY|LOOK|SPEED|STEP|TIME|TICK|PER_SECOND|POSITION|BLOCK|RATE|BASE|RAW_WRITE|LARGEST|QUIET");
  for (const auto& [iNumber, place] : constants) {
    if ((iNumber < -1 || iNumber >= 100 || place.ends_with("NOT_LIT")) && !std::regex_search(place, measure)) {
      numbers.emplace(iNumber, place);
    }
  }
  // Every exchange can end in silence or with a failed write.
  Found bases;
  AddMatches(R"re(constexpr OpticalCommand \w+\{("\w+"),[^}]*, (\d+)(?:, true)?\};)re", sources, bases);
  AddMatches(R"(constexpr DWORD (BASE_\w+|\w+_BASE) = (\d+);)", sources, bases);
  EXPECT_GE(bases.size(), 19U) << "the command set is no longer found";
  for (const auto& [iBase, place] : bases) {
    numbers.emplace(iBase + 2, place);
    numbers.emplace(iBase + 5, place);
  }
  numbers.erase(0);
  return numbers;
}

TEST(ErrorTexts, CoverEveryNumberOfTheSources) {
  const Found numbers = NumbersOfTheSources();
  EXPECT_GE(numbers.size(), 70U) << "the results of procedures are no longer found";
  for (const auto& [iNumber, place] : numbers) {
    EXPECT_TRUE(FindErrorText(iNumber).has_value()) << iNumber << " of " << place << " has no text";
  }
}

TEST(ErrorTexts, AreWholeForEachNumberOfTheTable) {
  const std::vector<LONG> numbers = ErrorNumbers();
  EXPECT_GE(numbers.size(), 110U);
  for (const LONG iNumber : numbers) {
    const auto text = FindErrorText(iNumber);
    ASSERT_TRUE(text.has_value()) << iNumber;
    EXPECT_FALSE(text->operation.empty() || text->cause.empty() || text->advice.empty()) << iNumber;
  }
  for (const LONG iNumber : {-1, 0, 6, 11, 131, 134, 201, 203, 499, 618, 4000}) {
    EXPECT_FALSE(FindErrorText(iNumber).has_value()) << iNumber;
  }
}

TEST(ErrorTexts, SayNumberOperationAndCause) {
  const std::pair<LONG, std::vector<std::string>> cases[] = {
      {84, {"error 84 ", "SetHomePosition", "answered \"error\""}},
      {132, {"error 132 ", "GetADValue", "silent for 60 seconds"}},
      {205, {"error 205 ", "ReadFirmwareVersion", "could not be written"}},
      {-3, {"error -3 ", "no more light than darkness"}},
      {315, {"error 315 ", "Kinetics", "longer interval"}},
      {999, {"error 999", "does not know", "Photometer.log"}},
  };
  for (const auto& [iNumber, parts] : cases) {
    for (const std::string& part : parts) {
      EXPECT_THAT(ExplainError(iNumber), HasSubstr(part));
    }
  }
  EXPECT_THAT(ExplainResult(photometer::E_INVALIDARG), HasSubstr("E_INVALIDARG"));
  EXPECT_EQ(ExplainResult(static_cast<HRESULT>(0x80001234U)), "0x80001234");
}

}  // namespace
}  // namespace host
