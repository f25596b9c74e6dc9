#include "HostDevice.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <fmt/format.h>

namespace host {

namespace {

std::string GroupOf(const struct stat& status) {
  const group* pGroup = getgrgid(status.st_gid);
  return pGroup == nullptr ? fmt::format("{}", status.st_gid) : std::string(pGroup->gr_name);
}

}  // namespace

std::string WhyDeviceFails(const std::string& device) {
  struct stat status {};
  if (stat(device.c_str(), &status) != 0) {
    return "there is no such device; plug the instrument in, or correct the path";
  }
  if (!S_ISCHR(status.st_mode)) {
    return "it is no serial device; correct the path, see ls -l /dev/serial/by-id";
  }
  if (access(device.c_str(), R_OK | W_OK) != 0) {
    return fmt::format("this user may not use it ({}); join its group (sudo usermod -aG {} $USER) and log in again",
                       std::strerror(errno), GroupOf(status));
  }
  return fmt::format("it is in use by another program, or is no serial port; end the other program, see fuser {}",
                     device);
}

std::string WhyFolderFails(const std::string& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) {
    return fmt::format("there is no such folder; make it (mkdir -p {}) or correct the path", folder);
  }
  if (!S_ISDIR(status.st_mode)) {
    return "it is no folder; correct the path";
  }
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    return fmt::format("this user may not write there ({}); permit it (sudo chown $USER {})", std::strerror(errno),
                       folder);
  }
  return {};
}

}  // namespace host
