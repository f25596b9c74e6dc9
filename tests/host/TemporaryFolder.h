/// A folder of a test's own, removed with all below it.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <string>

namespace host {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "photometer-test-XXXXXX").string();
    m_path = mkdtemp(pattern.data());
  }
  ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

}  // namespace host
