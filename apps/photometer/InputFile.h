/// Files that a person names, read whole.
#pragma once

#include <cstddef>
#include <string>

namespace host {

struct InputText {
  std::string text;
  /// Why there is no text: which file, and what to do. Empty when there is one.
  std::string complaint;
};

/// The file's bytes. Only regular files of at most so many bytes are read; a pipe does not hold the caller.
InputText LoadInput(const std::string& path, std::size_t nLimit);

}  // namespace host
