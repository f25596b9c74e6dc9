#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace host {

std::size_t TerminalColumns() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace host
