#include "platform/posix/HostFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <utility>

namespace photometer::platform {

namespace {

constexpr mode_t NewFileMode = 0644;

/// A call again as long as a signal interrupts it.
template <typename Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

/// No two live processes and no two calls of one have the same.
std::string TemporaryName(const std::string& name) {
  static std::atomic<unsigned> nCount{0};
  return "." + name + ".new-" + std::to_string(::getpid()) + "-" + std::to_string(nCount.fetch_add(1));
}

struct TemporaryFile {
  HostFile file;
  std::string name;
};

/// A temporary file of that name that is there already was left by a power cut, or belongs to a process in another
/// container: the next name is tried.
TemporaryFile CreateTemporary(const HostFile& folder, const std::string& name) {
  constexpr int MaximumTries = 100;
  for (int iTry = 0; iTry < MaximumTries; ++iTry) {
    TemporaryFile temporary{{}, TemporaryName(name)};
    temporary.file = HostFile::OpenAt(folder, temporary.name, O_WRONLY | O_CREAT | O_EXCL);
    if (temporary.file.IsOpen() || errno != EEXIST) {
      return temporary;
    }
  }
  return {};
}

bool Synchronise(const HostFile& file) {
  return Uninterrupted([&file] { return ::fsync(file.Get()); }) == 0;
}

bool SynchroniseFolder(const HostFile& folder) {
  // The folder itself may have been opened for its path only.
  const HostFile readable = HostFile::OpenAt(folder, ".", O_RDONLY | O_DIRECTORY);
  if (!readable.IsOpen()) {
    return false;
  }
  // EINVAL: a file system that knows no such thing for folders.
  return Synchronise(readable) || errno == EINVAL;
}

}  // namespace

HostFile::HostFile(int iDescriptor) : m_iDescriptor(iDescriptor) {}

HostFile::~HostFile() {
  if (IsOpen()) {
    ::close(m_iDescriptor);
  }
}

HostFile::HostFile(HostFile&& other) noexcept : m_iDescriptor(std::exchange(other.m_iDescriptor, -1)) {}

HostFile& HostFile::operator=(HostFile&& other) noexcept {
  std::swap(m_iDescriptor, other.m_iDescriptor);
  return *this;
}

HostFile HostFile::Open(const std::string& path, int iFlags) {
  return HostFile(Uninterrupted([&] { return ::open(path.c_str(), iFlags | O_CLOEXEC | O_NOCTTY, NewFileMode); }));
}

HostFile HostFile::OpenAt(const HostFile& folder, const std::string& name, int iFlags) {
  const int iAllFlags = iFlags | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW;
  return HostFile(Uninterrupted([&] { return ::openat(folder.Get(), name.c_str(), iAllFlags, NewFileMode); }));
}

bool HostFile::IsRegular() const {
  struct stat status {};
  return IsOpen() && ::fstat(m_iDescriptor, &status) == 0 && S_ISREG(status.st_mode);
}

bool HostFile::WriteOnce(std::string_view bytes) const {
  const ssize_t nWritten = Uninterrupted([&] { return ::write(m_iDescriptor, bytes.data(), bytes.size()); });
  return nWritten >= 0 && static_cast<std::size_t>(nWritten) == bytes.size();
}

bool HostFile::WriteAll(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t nWritten = Uninterrupted([&] { return ::write(m_iDescriptor, bytes.data(), bytes.size()); });
    if (nWritten <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(nWritten));
  }
  return true;
}

std::optional<std::size_t> HostFile::ReadSome(char* pBuffer, std::size_t nBytes) const {
  const ssize_t nRead = Uninterrupted([&] { return ::read(m_iDescriptor, pBuffer, nBytes); });
  return nRead < 0 ? std::nullopt : std::optional<std::size_t>(static_cast<std::size_t>(nRead));
}

std::optional<std::string> HostFile::ReadAll(std::size_t nLimit) const {
  std::string bytes;
  std::array<char, 16384> block{};
  for (;;) {
    const std::optional<std::size_t> nRead = ReadSome(block.data(), block.size());
    if (!nRead.has_value() || *nRead > nLimit - bytes.size()) {
      return std::nullopt;
    }
    if (*nRead == 0) {
      return bytes;
    }
    bytes.append(block.data(), *nRead);
  }
}

bool ReplaceAt(const HostFile& folder, const std::string& name, const std::function<bool(const HostFile&)>& write) {
  const TemporaryFile temporary = CreateTemporary(folder, name);
  if (!temporary.file.IsOpen()) {
    return false;
  }
  const bool bWritten = write(temporary.file) && Synchronise(temporary.file);
  if (!bWritten || ::renameat(folder.Get(), temporary.name.c_str(), folder.Get(), name.c_str()) != 0) {
    ::unlinkat(folder.Get(), temporary.name.c_str(), 0);
    return false;
  }
  return SynchroniseFolder(folder);
}

bool ReplaceHostFile(const std::string& path, std::string_view bytes) {
  const std::size_t nSlash = path.rfind('/');
  const std::string folderPath = nSlash == std::string::npos ? "." : path.substr(0, nSlash + 1);
  const HostFile folder = HostFile::Open(folderPath, O_RDONLY | O_DIRECTORY);
  if (!folder.IsOpen()) {
    return false;
  }
  return ReplaceAt(folder, path.substr(nSlash + 1), [bytes](const HostFile& file) { return file.WriteAll(bytes); });
}

}  // namespace photometer::platform
