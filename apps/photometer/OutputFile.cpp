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

/// A temporary file takes nobody's rights into account: it gets those that a new file would have.
void GiveUsualRights(int iFile) {
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(iFile, 0666 & ~mask);
}

/// Linking fails where a file is, renaming replaces it.
bool GiveName(const std::string& temporary, const std::string& path, bool bForce) {
  if (bForce) {
    return rename(temporary.c_str(), path.c_str()) == 0;
  }
  return link(temporary.c_str(), path.c_str()) == 0 && unlink(temporary.c_str()) == 0;
}

}  // namespace

std::string ComplainAboutOutput(const std::string& path, bool bForce) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (std::filesystem::is_directory(status)) {
    return fmt::format("{} is a folder; give a file", path);
  }
  if (std::filesystem::exists(status) && !bForce) {
    return AlreadyThere(path);
  }
  return access(FolderOf(path).c_str(), W_OK | X_OK) == 0 ? std::string() : NotWritten(path);
}

std::string WriteOutput(const std::string& path, std::string_view contents, bool bForce) {
  std::string temporary = (FolderOf(path) / ".photometer-XXXXXX").string();
  const int iFile = mkstemp(temporary.data());
  if (iFile < 0) {
    return NotWritten(path);
  }
  GiveUsualRights(iFile);
  const bool bComplete = WriteAll(iFile, contents);
  if (close(iFile) == 0 && bComplete && GiveName(temporary, path, bForce)) {
    return {};
  }
  std::string complaint = errno == EEXIST ? AlreadyThere(path) : NotWritten(path);
  unlink(temporary.c_str());
  return complaint;
}

}  // namespace host
