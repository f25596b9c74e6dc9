#include "BoardCheck.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include <fmt/format.h>

#include "HostDevice.h"
#include "LampCounters.h"
#include "platform/Platform.h"
#include "platform/posix/PosixPins.h"
#include "platform/posix/PosixRegistry.h"
#include "platform/posix/PosixSerialPorts.h"

namespace host {

namespace layer = photometer::platform;

namespace {

using Findings = std::vector<BoardFinding>;

constexpr std::array<photometer::DWORD, 3> CuvettePins = {10, 11, 12};
constexpr photometer::DWORD OutputPin = 9;

/// A complaint "what is wrong; what to do" as a finding.
BoardFinding Split(BoardState state, const std::string& key, const std::string& subject, const std::string& complaint) {
  const std::size_t nMend = complaint.find("; ");
  const std::string mend = nMend == std::string::npos ? std::string() : complaint.substr(nMend + 2);
  return {state, key, subject + ": " + complaint.substr(0, nMend), mend};
}

std::filesystem::path HostPath(const layer::BoardFile& file, const std::u16string& path) {
  std::string name = layer::ToUtf8(path);
  std::replace(name.begin(), name.end(), '\\', '/');
  return std::filesystem::path(file.root + name);
}

void CheckRoot(const layer::BoardFile& file, Findings& findings) {
  if (const std::string complaint = WhyFolderFails(file.root); !complaint.empty()) {
    findings.push_back(Split(BoardState::Wrong, "root", file.root, complaint));
    return;
  }
  findings.push_back({BoardState::Works, "root", file.root + " can be written to", {}});
  for (const char16_t* path : {u"\\NANDFlash", u"\\NANDFlash\\Logging", u"\\SDMemory"}) {
    const std::string folder = HostPath(file, path).string();
    std::error_code error;
    const bool bThere = std::filesystem::exists(folder, error);
    const std::string complaint = bThere ? WhyFolderFails(folder) : std::string();
    if (!complaint.empty()) {
      findings.push_back(Split(BoardState::Wrong, "root", folder, complaint));
    } else if (!bThere && path == std::u16string(u"\\SDMemory")) {
      findings.push_back({BoardState::Note, "root", folder + " is not there: the error list is not written",
                          "mount the card there, or make the folder"});
    }
  }
}

void CheckPorts(const layer::BoardFile& file, Findings& findings) {
  layer::PosixSerialPorts ports(file.ports);
  bool bOptical = false;
  for (const layer::SerialPortEntry& entry : file.ports) {
    const std::string key = "ports." + layer::ToUtf8(entry.name.substr(0, entry.name.size() - 1));
    const layer::HANDLE hPort = ports.Open(entry.name);
    bOptical = bOptical || entry.name == u"COM2:";
    if (hPort == layer::INVALID_HANDLE_VALUE) {
      findings.push_back(Split(BoardState::Wrong, key, entry.device, WhyDeviceFails(entry.device)));
    } else {
      ports.Close(hPort);
      findings.push_back({BoardState::Works, key, entry.device + " can be opened", {}});
    }
  }
  if (!bOptical) {
    findings.push_back({BoardState::Wrong, "ports.COM2", "the port of the optical unit is missing",
                        "give its device, as COM2 = \"/dev/ttyUSB0\""});
  }
}

BoardFinding CheckInput(layer::PosixPins& pins, layer::HANDLE hPins, const std::string& folder,
                        photometer::DWORD dwPin) {
  const photometer::DWORD dwLevel = pins.GetInput(hPins, 0, dwPin);
  if (dwLevel != layer::UnreadablePin) {
    return {BoardState::Works, "pins.folder", fmt::format("pin {} (cuvette switch) is {}", dwPin, dwLevel), {}};
  }
  return {BoardState::Wrong, "pins.folder",
          fmt::format("pin {} (cuvette switch): neither {}/gpio{}/value nor {}/pin{} holds 0 or 1", dwPin, folder,
                      dwPin, folder, dwPin),
          "link the line's folder of /sys/class/gpio there, and permit reading"};
}

BoardFinding CheckOutput(const std::string& folder) {
  const std::string kernel = fmt::format("{}/gpio{}/value", folder, OutputPin);
  const std::string plain = fmt::format("{}/pin{}", folder, OutputPin);
  for (const std::string& path : {kernel, plain}) {
    if (access(path.c_str(), W_OK) == 0) {
      return {BoardState::Works, "pins.folder", fmt::format("output {}: {} can be written to", OutputPin, path), {}};
    }
  }
  std::error_code error;
  if (!std::filesystem::exists(plain, error) && WhyFolderFails(folder).empty()) {
    return {BoardState::Works, "pins.folder", fmt::format("output {}: {} will be made", OutputPin, plain), {}};
  }
  return {BoardState::Wrong, "pins.folder",
          fmt::format("output {}: neither {} nor {} can be written to", OutputPin, kernel, plain),
          "link the line's folder of /sys/class/gpio there, and permit writing"};
}

void CheckPins(const layer::BoardFile& file, Findings& findings) {
  if (file.pinsFolder.empty()) {
    findings.push_back({BoardState::Wrong, "pins.folder",
                        "there are no pins: the instrument does not start without them",
                        "give the folder of the pins' value files"});
    return;
  }
  layer::PosixPins pins(file.pinsFolder);
  const layer::HANDLE hPins = pins.OpenHandle();
  if (hPins == layer::INVALID_HANDLE_VALUE) {
    findings.push_back({BoardState::Wrong, "pins.folder", file.pinsFolder + " cannot be opened as a folder",
                        "make it, or correct the path"});
    return;
  }
  for (const photometer::DWORD dwPin : CuvettePins) {
    findings.push_back(CheckInput(pins, hPins, file.pinsFolder, dwPin));
  }
  findings.push_back(CheckOutput(file.pinsFolder));
  pins.CloseHandle(hPins);
}

void CheckRegistry(const layer::BoardFile& file, Findings& findings) {
  const std::string folder = std::filesystem::path(file.registryFile).parent_path().string();
  // It is replaced whole, by a new file beside it.
  if (const std::string complaint = WhyFolderFails(folder); !complaint.empty()) {
    findings.push_back(Split(BoardState::Wrong, "registry.file", folder, complaint));
    return;
  }
  std::error_code error;
  if (!std::filesystem::exists(file.registryFile, error)) {
    findings.push_back({BoardState::Note, "registry.file",
                        file.registryFile + " is not there: it will be made, with both lamp counters 0",
                        "if the lamps are not new, write the file with their counters"});
    return;
  }
  layer::PosixRegistry registry(file.registryFile);
  const layer::HANDLE hKey = registry.OpenKey(LampCounterKey);
  for (const char16_t* name : {HalogenCounter, DeuteriumCounter}) {
    const auto value = hKey == layer::INVALID_HANDLE_VALUE ? std::nullopt : registry.QueryValue(hKey, name);
    const std::string counter = layer::ToUtf8(name);
    findings.push_back(value ? BoardFinding{BoardState::Works,
                                            "registry.file",
                                            fmt::format("lamp counter {} is {}", counter, *value),
                                            {}}
                             : BoardFinding{BoardState::Wrong, "registry.file",
                                            fmt::format("{}: {} cannot be read", file.registryFile, counter),
                                            "correct the file by hand, or delete it to begin with 0"});
  }
  registry.CloseKey(hKey);
}

void CheckDebug(const layer::BoardFile& file, Findings& findings) {
  if (file.debugTarget != layer::DebugTarget::File) {
    return;
  }
  const std::string folder = std::filesystem::path(file.debugFile).parent_path().string();
  const bool bThere = access(file.debugFile.c_str(), F_OK) == 0;
  const std::string complaint = bThere ? std::string() : WhyFolderFails(folder);
  if (!complaint.empty()) {
    findings.push_back(Split(BoardState::Wrong, "debug.file", folder, complaint));
  } else if (bThere && access(file.debugFile.c_str(), W_OK) != 0) {
    findings.push_back({BoardState::Wrong, "debug.file", file.debugFile + " cannot be written to",
                        "permit writing there, or give another file"});
  } else {
    findings.push_back({BoardState::Works, "debug.file", file.debugFile + " can be written to", {}});
  }
}

}  // namespace

std::vector<BoardFinding> CheckBoard(const layer::BoardFile& file) {
  Findings findings;
  CheckRoot(file, findings);
  CheckPorts(file, findings);
  CheckPins(file, findings);
  CheckRegistry(file, findings);
  CheckDebug(file, findings);
  return findings;
}

std::string FormatFindings(const std::string& source, const std::vector<BoardFinding>& findings) {
  std::string text = fmt::format("Board file {}\n", source);
  for (const BoardFinding& finding : findings) {
    const char* word = finding.state == BoardState::Works ? "ok" : finding.state == BoardState::Note ? "note" : "WRONG";
    text += fmt::format("  {:<5}  {:<14} {}\n", word, finding.strKey, finding.strFound);
    if (!finding.strMend.empty()) {
      text += fmt::format("  {:<5}  {:<14} -> {}\n", "", "", finding.strMend);
    }
  }
  const auto nWrong = std::count_if(findings.begin(), findings.end(),
                                    [](const BoardFinding& one) { return one.state == BoardState::Wrong; });
  return text + (nWrong == 0 ? "Everything works.\n" : fmt::format("{} to be mended.\n", nWrong));
}

bool HasWrong(const std::vector<BoardFinding>& findings) {
  return std::any_of(findings.begin(), findings.end(),
                     [](const BoardFinding& one) { return one.state == BoardState::Wrong; });
}

}  // namespace host
