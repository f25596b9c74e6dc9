/// A folder of the system's temporary one for files that a command reads; it is removed with all in it.
#pragma once

#include <string>
#include <string_view>

namespace host {

class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  /// Path of a new file of these bytes; empty: it could not be written.
  [[nodiscard]] std::string Write(const std::string& name, std::string_view bytes) const;

 private:
  /// Empty: there is none.
  std::string m_strPath;
};

}  // namespace host
