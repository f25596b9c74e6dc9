#include "InputFile.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "platform/posix/HostFile.h"

namespace host {

InputText LoadInput(const std::string& path, std::size_t nLimit) {
  const auto file = photometer::platform::HostFile::Open(path, O_RDONLY | O_NONBLOCK);
  if (!file.IsOpen()) {
    return {{}, fmt::format("{} cannot be read ({}); check the path", path, std::strerror(errno))};
  }
  if (!file.IsRegular()) {
    return {{}, fmt::format("{} is no file; check the path", path)};
  }
  std::optional<std::string> text = file.ReadAll(nLimit);
  if (!text) {
    return {{},
            fmt::format("{} cannot be read, or is longer than {} KiB; check that it is the right file", path,
                        nLimit / 1024)};
  }
  return {std::move(*text), {}};
}

}  // namespace host
