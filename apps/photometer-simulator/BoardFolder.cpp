#include "BoardFolder.h"

#include <stdlib.h>

#include <array>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fmt/format.h>

namespace serving {

namespace {

constexpr std::array Names = {"board.toml", "root", "pins", "registry.txt"};

std::filesystem::path MakeTemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "photometer-simulator-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error(pattern + ": cannot be made; give --folder DIR");
  }
  return pattern;
}

}  // namespace

BoardFolder::BoardFolder(const std::filesystem::path& folder, const BoardPorts& ports) {
  if (folder.empty()) {
    m_folder = MakeTemporaryFolder();
    m_bMadeFolder = true;
  } else {
    m_bMadeFolder = std::filesystem::create_directories(folder);
    m_folder = std::filesystem::canonical(folder);
  }
  for (const char* name : Names) {
    // What a person has put there is neither overwritten now nor removed later.
    if (std::filesystem::exists(m_folder / name)) {
      throw std::runtime_error((m_folder / name).string() + ": is there already; give an empty --folder, or remove it");
    }
  }
  for (const char* name : {"root/NANDFlash/Logging", "root/SDMemory", "root/Application", "pins"}) {
    std::filesystem::create_directories(m_folder / name);
  }
  for (const std::uint32_t dwPin : {9U, 10U, 11U, 12U, 22U}) {
    WritePin(dwPin, 0);
  }
  WriteFile(m_folder / "registry.txt", "[\\Veltranometrik]\nHalLamp=0\nUVLamp=0\n");
  WriteFile(BoardFile(), fmt::format("# A simulated instrument.\n"
                                     "root = \"root\"\n"
                                     "program = '\\Application\\photometer.exe'\n\n"
                                     "[ports]\nCOM1 = \"{}\"\nCOM2 = \"{}\"\nCOM6 = \"{}\"\n\n"
                                     "[pins]\nfolder = \"pins\"\n\n"
                                     "[registry]\nfile = \"registry.txt\"\n\n"
                                     "[debug]\noutput = \"off\"\n",
                                     ports.external, ports.optical, ports.sipper));
}

BoardFolder::~BoardFolder() {
  if (m_bKeep) {
    return;
  }
  std::error_code ignored;
  for (const char* name : Names) {
    std::filesystem::remove_all(m_folder / name, ignored);
  }
  if (m_bMadeFolder) {
    std::filesystem::remove(m_folder, ignored);
  }
}

void BoardFolder::WritePin(std::uint32_t dwPin, std::uint32_t dwLevel) {
  WriteFile(m_folder / "pins" / fmt::format("pin{}", dwPin), fmt::format("{}\n", dwLevel));
}

void BoardFolder::WriteFile(const std::filesystem::path& path, const std::string& text) {
  const std::filesystem::path fresh = path.string() + ".new";
  std::ofstream stream(fresh, std::ios::binary | std::ios::trunc);
  stream << text << std::flush;
  if (!stream) {
    throw std::runtime_error(fresh.string() + ": cannot be written; is the disk full?");
  }
  stream.close();
  std::filesystem::rename(fresh, path);
}

}  // namespace serving
