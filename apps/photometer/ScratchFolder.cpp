#include "ScratchFolder.h"

#include <stdlib.h>

#include <filesystem>
#include <system_error>

#include "platform/posix/HostFile.h"

namespace host {

ScratchFolder::ScratchFolder() {
  std::error_code error;
  std::string path = (std::filesystem::temp_directory_path(error) / "photometer-XXXXXX").string();
  if (!error && mkdtemp(path.data()) != nullptr) {
    m_strPath = path;
  }
}

ScratchFolder::~ScratchFolder() {
  std::error_code error;
  if (!m_strPath.empty()) {
    std::filesystem::remove_all(m_strPath, error);
  }
}

std::string ScratchFolder::Write(const std::string& name, std::string_view bytes) const {
  const std::string path = m_strPath + "/" + name;
  return !m_strPath.empty() && photometer::platform::ReplaceHostFile(path, bytes) ? path : std::string();
}

}  // namespace host
