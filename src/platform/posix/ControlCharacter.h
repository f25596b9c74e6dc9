/// What stands in no line of a text file: control characters but the tab.
#pragma once

namespace photometer::platform {

inline bool IsControl(char character) {
  return (static_cast<unsigned char>(character) < ' ' && character != '\t') || character == '\x7F';
}

}  // namespace photometer::platform
