#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>

namespace host {

namespace {

std::filesystem::path FolderOf(const std::string& path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder;
}

std::string AlreadyThere(const std::string& path) {
  return fmt::format("{} is there already; give another name, or --force to replace it", path);
}

std::string NotWritten(const std::string& path) {
  return fmt::format("{} cannot be written ({}); give a file in a folder that you may write to", path,
                     std::strerror(errno));
}

bool WriteAll(int iFile, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t nWritten = write(iFile, contents.data(), contents.size());
    if (nWritten < 0 && errno == EINTR) {
      continue;
    }
    if (nWritten <= 0) {
      return false;
    }
    contents.remove_prefix(static_cast<std::size_t>(nWritten));
  }
  return fsync(iFile) == 0;
}

/// A temporary file takes nobody's rights into account: it gets those of the file that it replaces, or those that a new
/// file would have.
void GiveRights(int iFile, const std::string& path) {
  struct stat before {};
  if (stat(path.c_str(), &before) == 0) {
    // Only the superuser may give a file away.
    [[maybe_unused]] const int iGiven = fchown(iFile, before.st_uid, before.st_gid);
    fchmod(iFile, before.st_mode & 07777);
    return;
  }
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(iFile, 0666 & ~mask);
}

/// A link that is replaced stays one: the file behind it is meant.
std::string Target(const std::string& path) {
  std::error_code error;
  const std::filesystem::path target = std::filesystem::canonical(path, error);
  return error ? path : target.string();
}

/// After a power cut the name must be there too.
void SynchroniseFolder(const std::string& path) {
  const int iFolder = open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (iFolder >= 0) {
    fsync(iFolder);
    close(iFolder);
  }
}

}  // namespace

std::string ComplainAboutOutput(const std::string& path, bool bForce) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (std::filesystem::is_directory(status)) {
    return fmt::format("{} is a folder; give a file", path);
  }
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    return fmt::format("{} is a device or a pipe; give a file, or none for the standard output", path);
  }
  if (std::filesystem::exists(status) && !bForce) {
    return AlreadyThere(path);
  }
  return access(FolderOf(path).c_str(), W_OK | X_OK) == 0 ? std::string() : NotWritten(path);
}

bool GiveName(const std::string& temporary, const std::string& path, bool bForce) {
  if (bForce) {
    return rename(temporary.c_str(), path.c_str()) == 0;
  }
  if (renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  // Some file systems cannot do that but know links, which fail where a file is too.
  const bool bUnknown = errno == EINVAL || errno == ENOSYS;
  return bUnknown && link(temporary.c_str(), path.c_str()) == 0 && unlink(temporary.c_str()) == 0;
}

std::string WriteOutput(const std::string& name, std::string_view contents, bool bForce) {
  const std::string path = bForce ? Target(name) : name;
  std::string temporary = (FolderOf(path) / ".photometer-XXXXXX").string();
  const int iFile = mkstemp(temporary.data());
  if (iFile < 0) {
    return NotWritten(path);
  }
  GiveRights(iFile, path);
  const bool bComplete = WriteAll(iFile, contents);
  if (close(iFile) == 0 && bComplete && GiveName(temporary, path, bForce)) {
    SynchroniseFolder(path);
    return {};
  }
  std::string complaint = errno == EEXIST ? AlreadyThere(path) : NotWritten(path);
  unlink(temporary.c_str());
  return complaint;
}

}  // namespace host
