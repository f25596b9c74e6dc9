#include "platform/posix/PosixBoard.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/posix/PosixDebugOutput.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixKernel.h"
#include "platform/posix/PosixPins.h"
#include "platform/posix/PosixRegistry.h"
#include "platform/posix/PosixSerialPorts.h"

namespace photometer::platform {

namespace {

bool IsFolder(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

/// Makes the folder if it is missing. True: it is there.
bool ProvideFolder(Files& files, const std::u16string& path) {
  if (!files.GetStatus(path).has_value()) {
    files.CreateDirectory(path);
  }
  const std::optional<FileStatus> status = files.GetStatus(path);
  return status.has_value() && status->bDirectory;
}

/// Makes every missing folder above a file.
bool ProvideFoldersOf(Files& files, const std::u16string& path) {
  for (std::size_t nEnd = path.find(u'\\', 1); nEnd != std::u16string::npos; nEnd = path.find(u'\\', nEnd + 1)) {
    if (!ProvideFolder(files, path.substr(0, nEnd))) {
      return false;
    }
  }
  return true;
}

std::string Quoted(const std::string& path) { return "\"" + path + "\""; }

}  // namespace

struct PosixBoard::Services {
  explicit Services(const BoardFile& file)
      : serialPorts(file.ports),
        pins(file.pinsFolder),
        files(file.root, file.program),
        registry(file.registryFile),
        debugOutput(file.debugTarget, file.debugFile) {}

  /// What is wrong; empty when the board can be used.
  std::string SetUp(const BoardFile& file);

  PosixKernel kernel;
  PosixSerialPorts serialPorts;
  PosixPins pins;
  PosixFiles files;
  PosixRegistry registry;
  PosixDebugOutput debugOutput;
};

std::string PosixBoard::Services::SetUp(const BoardFile& file) {
  if (!IsFolder(file.root)) {
    return file.Complaint("root", Quoted(file.root) + " is not a folder; make it or correct the path");
  }
  if (!ProvideFolder(files, u"\\NANDFlash") || !ProvideFoldersOf(files, files.GetModuleFileName())) {
    return file.Complaint("root", "the folders of flash and program cannot be made in " + Quoted(file.root) +
                                      "; make it writable, and remove links and files in their places");
  }
  if (!file.pinsFolder.empty() && !IsFolder(file.pinsFolder)) {
    return file.Complaint("pins.folder", Quoted(file.pinsFolder) + " is not a folder; make it or correct the path");
  }
  if (!registry.CreateIfAbsent()) {
    return file.Complaint("registry.file", Quoted(file.registryFile) + " cannot be made (" + std::strerror(errno) +
                                               "); make its folder and permit writing there");
  }
  if (!debugOutput.IsReady()) {
    return file.Complaint("debug.file",
                          Quoted(file.debugFile) + " cannot be opened; make its folder and permit writing there");
  }
  return {};
}

PosixBoard::PosixBoard(const BoardFile& file)
    : m_pServices(std::make_unique<Services>(file)), m_strProblem(m_pServices->SetUp(file)) {}

PosixBoard::~PosixBoard() = default;

const std::string& PosixBoard::Problem() const { return m_strProblem; }

Kernel& PosixBoard::GetKernel() { return m_pServices->kernel; }

SerialPorts& PosixBoard::GetSerialPorts() { return m_pServices->serialPorts; }

Pins& PosixBoard::GetPins() { return m_pServices->pins; }

Files& PosixBoard::GetFiles() { return m_pServices->files; }

Registry& PosixBoard::GetRegistry() { return m_pServices->registry; }

DebugOutput& PosixBoard::GetDebugOutput() { return m_pServices->debugOutput; }

}  // namespace photometer::platform
