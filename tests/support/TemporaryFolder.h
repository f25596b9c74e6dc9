/// A folder of the host that is gone, with all in it, at the end of a test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace photometer::tests {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "photometer-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("no temporary folder can be made");
    }
    m_path = name;
  }
  ~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] std::string At(const std::string& name) const { return (m_path / name).string(); }
  [[nodiscard]] std::string Path() const { return m_path.string(); }

  std::string Write(const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories((m_path / name).parent_path());
    std::ofstream(m_path / name, std::ios::binary) << bytes;
    return At(name);
  }
  [[nodiscard]] std::string Read(const std::string& name) const {
    std::ifstream file(m_path / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void MakeFolder(const std::string& name) const { std::filesystem::create_directories(m_path / name); }
  /// Names of the entries of a folder.
  [[nodiscard]] std::vector<std::string> Entries(const std::string& name) const {
    std::vector<std::string> entries;
    for (const auto& entry : std::filesystem::directory_iterator(m_path / name)) {
      entries.push_back(entry.path().filename().string());
    }
    return entries;
  }

 private:
  std::filesystem::path m_path;
};

}  // namespace photometer::tests
