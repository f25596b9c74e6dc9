/// The folder that makes a simulated instrument usable as a board: the board file, the instrument's file system, the
/// pins' value files and the registry file.
///
/// ```
/// board.toml                 for the POSIX board
/// root/NANDFlash/Logging     root/SDMemory     root/Application
/// pins/pin9 ... pins/pin12   pin22
/// registry.txt
/// ```
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace serving {

/// Devices of the board's ports.
struct BoardPorts {
  std::string external;  ///< COM1
  std::string optical;   ///< COM2
  std::string sipper;    ///< COM6
};

class BoardFolder {
 public:
  /// Makes everything below the folder, which is made too when it is not there; an empty path: a new folder below the
  /// system's folder for temporary files. Throws `std::filesystem::filesystem_error` or `std::runtime_error`.
  BoardFolder(const std::filesystem::path& folder, const BoardPorts& ports);
  /// Removes what it made, unless `Keep` was called; a folder that was there before stays.
  ~BoardFolder();
  BoardFolder(const BoardFolder&) = delete;
  BoardFolder& operator=(const BoardFolder&) = delete;

  void Keep() { m_bKeep = true; }
  [[nodiscard]] const std::filesystem::path& Folder() const { return m_folder; }
  [[nodiscard]] std::filesystem::path BoardFile() const { return m_folder / "board.toml"; }
  /// Sets the level of an input pin. A reader sees the old or the new one.
  void WritePin(std::uint32_t dwPin, std::uint32_t dwLevel);

 private:
  void WriteFile(const std::filesystem::path& path, const std::string& text);

  std::filesystem::path m_folder;
  bool m_bMadeFolder = false;
  bool m_bKeep = false;
};

}  // namespace serving
