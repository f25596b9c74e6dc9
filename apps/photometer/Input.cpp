#include "Input.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace host {

namespace {

// In one slice of the waiting loops: more than the fastest line carries.
constexpr std::size_t LongestBlock = 1024;

}  // namespace

std::optional<std::string> StandardInput::Read(int iMilliseconds) {
  pollfd watched{STDIN_FILENO, POLLIN, 0};
  if (poll(&watched, 1, iMilliseconds) <= 0) {
    return std::string();
  }
  std::array<char, LongestBlock> block{};
  const ssize_t nRead = read(STDIN_FILENO, block.data(), block.size());
  if (nRead < 0 && (errno == EINTR || errno == EAGAIN)) {
    return std::string();
  }
  return nRead > 0 ? std::optional(std::string(block.data(), static_cast<std::size_t>(nRead))) : std::nullopt;
}

}  // namespace host
