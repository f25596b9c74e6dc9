#include "platform/posix/PosixFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <utility>
#include <vector>

#include "platform/InstrumentPath.h"
#include "platform/Platform.h"

namespace photometer::platform {

namespace {

constexpr mode_t NewFolderMode = 0755;
constexpr int FolderFlags = O_PATH | O_DIRECTORY;

/// The instrument keeps its programs in this folder.
constexpr char16_t ProgramFolder[] = u"\\Application\\";

std::u16string DefaultProgram() {
  std::array<char, 4096> target{};
  const ssize_t nLength = ::readlink("/proc/self/exe", target.data(), target.size());
  std::string_view path =
      nLength > 0 ? std::string_view(target.data(), static_cast<std::size_t>(nLength)) : "photometer";
  path.remove_prefix(path.rfind('/') + 1);
  return ProgramFolder + FromUtf8(path);
}

bool CopyBytes(const HostFile& from, const HostFile& to) {
  std::array<char, 65536> block{};
  for (;;) {
    const std::optional<std::size_t> nRead = from.ReadSome(block.data(), block.size());
    if (!nRead.has_value()) {
      return false;
    }
    if (*nRead == 0) {
      return true;
    }
    if (!to.WriteAll({block.data(), *nRead})) {
      return false;
    }
  }
}

}  // namespace

/// An entry of an open folder.
struct PosixFiles::Place {
  HostFile folder;
  std::string name;
};

PosixFiles::PosixFiles(std::string root, std::u16string program)
    : m_strRoot(std::move(root)), m_strProgram(program.empty() ? DefaultProgram() : std::move(program)) {}

std::optional<PosixFiles::Place> PosixFiles::Find(const std::u16string& path) const {
  std::optional<std::vector<std::string>> names = SplitInstrumentPath(path);
  if (!names.has_value()) {
    return std::nullopt;
  }
  Place place{HostFile::Open(m_strRoot, FolderFlags), "."};
  if (!names->empty()) {
    place.name = std::move(names->back());
    names->pop_back();
  }
  for (const std::string& name : *names) {
    if (!place.folder.IsOpen()) {
      return std::nullopt;
    }
    place.folder = HostFile::OpenAt(place.folder, name, FolderFlags);
  }
  return place.folder.IsOpen() ? std::optional<Place>(std::move(place)) : std::nullopt;
}

HostFile PosixFiles::OpenToRead(const std::u16string& path) const {
  const std::optional<Place> place = Find(path);
  if (!place.has_value()) {
    return {};
  }
  // Without waiting: a pipe at that place must not hold the caller.
  HostFile file = HostFile::OpenAt(place->folder, place->name, O_RDONLY | O_NONBLOCK);
  return file.IsRegular() ? std::move(file) : HostFile();
}

bool PosixFiles::Append(const std::u16string& path, std::string_view bytes) {
  const std::optional<Place> place = Find(path);
  if (!place.has_value()) {
    return false;
  }
  const int iFlags = O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK;
  const HostFile file = HostFile::OpenAt(place->folder, place->name, iFlags);
  return file.IsRegular() && file.WriteOnce(bytes);
}

bool PosixFiles::Replace(const std::u16string& path, std::string_view bytes) {
  const std::optional<Place> place = Find(path);
  return place.has_value() &&
         ReplaceAt(place->folder, place->name, [bytes](const HostFile& file) { return file.WriteAll(bytes); });
}

std::optional<std::string> PosixFiles::Read(const std::u16string& path, std::size_t nLimit) {
  const HostFile file = OpenToRead(path);
  return file.IsOpen() ? file.ReadAll(nLimit) : std::nullopt;
}

std::optional<FileStatus> PosixFiles::GetStatus(const std::u16string& path) {
  const std::optional<Place> place = Find(path);
  struct stat status {};
  if (!place.has_value() || ::fstatat(place->folder.Get(), place->name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return std::nullopt;
  }
  if (S_ISDIR(status.st_mode)) {
    return FileStatus{true, 0};
  }
  if (!S_ISREG(status.st_mode)) {
    return std::nullopt;
  }
  return FileStatus{false, static_cast<std::uint64_t>(status.st_size)};
}

bool PosixFiles::CreateDirectory(const std::u16string& path) {
  const std::optional<Place> place = Find(path);
  return place.has_value() && ::mkdirat(place->folder.Get(), place->name.c_str(), NewFolderMode) == 0;
}

bool PosixFiles::Copy(const std::u16string& from, const std::u16string& to) {
  const HostFile source = OpenToRead(from);
  const std::optional<Place> place = Find(to);
  return source.IsOpen() && place.has_value() &&
         ReplaceAt(place->folder, place->name, [&source](const HostFile& target) { return CopyBytes(source, target); });
}

bool PosixFiles::Delete(const std::u16string& path) {
  const std::optional<Place> place = Find(path);
  return place.has_value() && ::unlinkat(place->folder.Get(), place->name.c_str(), 0) == 0;
}

std::u16string PosixFiles::GetModuleFileName() { return m_strProgram; }

}  // namespace photometer::platform
