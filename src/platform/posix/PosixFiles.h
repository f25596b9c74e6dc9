/// Files below a root folder of the host.
///
/// `\NANDFlash\Logging\Photometer.log` is `<root>/NANDFlash/Logging/Photometer.log`; upper and lower case differ. The
/// root itself may be reached through links; below it no link is followed, neither a folder nor a file, so that no
/// path leads out. Only regular files are read and written. All operations may be called from all threads; nothing is
/// kept open between them.
#pragma once

#include <string>

#include "platform/Board.h"
#include "platform/posix/HostFile.h"

namespace photometer::platform {

class PosixFiles final : public Files {
 public:
  /// `program` is what `GetModuleFileName` gives; empty: `\Application\<name of the executable>`.
  PosixFiles(std::string root, std::u16string program);

  bool Append(const std::u16string& path, std::string_view bytes) override;
  bool Replace(const std::u16string& path, std::string_view bytes) override;
  std::optional<std::string> Read(const std::u16string& path, std::size_t nLimit) override;
  std::optional<FileStatus> GetStatus(const std::u16string& path) override;
  bool CreateDirectory(const std::u16string& path) override;
  bool Copy(const std::u16string& from, const std::u16string& to) override;
  bool Delete(const std::u16string& path) override;
  std::u16string GetModuleFileName() override;

 private:
  struct Place;
  [[nodiscard]] std::optional<Place> Find(const std::u16string& path) const;
  [[nodiscard]] HostFile OpenToRead(const std::u16string& path) const;

  std::string m_strRoot;
  std::u16string m_strProgram;
};

}  // namespace photometer::platform
