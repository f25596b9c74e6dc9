/// Files of the host system by descriptor, and the whole replacement of a file.
///
/// A `HostFile` owns its descriptor. All functions may be called from all threads; nothing throws but for memory.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace photometer::platform {

class HostFile {
 public:
  HostFile() = default;
  explicit HostFile(int iDescriptor);
  ~HostFile();
  HostFile(HostFile&& other) noexcept;
  HostFile& operator=(HostFile&& other) noexcept;
  HostFile(const HostFile&) = delete;
  HostFile& operator=(const HostFile&) = delete;

  /// Opens a path of the host; links are followed. `iFlags` as for open(2), close-on-exec is added.
  static HostFile Open(const std::string& path, int iFlags);
  /// Opens an entry of a folder, which must not be a link.
  static HostFile OpenAt(const HostFile& folder, const std::string& name, int iFlags);

  [[nodiscard]] bool IsOpen() const { return m_iDescriptor >= 0; }
  [[nodiscard]] int Get() const { return m_iDescriptor; }
  /// Not a folder, pipe, device or socket.
  [[nodiscard]] bool IsRegular() const;

  /// One write of all bytes. False: fewer were taken.
  [[nodiscard]] bool WriteOnce(std::string_view bytes) const;
  /// As many writes as it takes.
  [[nodiscard]] bool WriteAll(std::string_view bytes) const;
  /// At most as many bytes as the buffer has; 0 at the end. Nothing: it failed.
  [[nodiscard]] std::optional<std::size_t> ReadSome(char* pBuffer, std::size_t nBytes) const;
  /// The rest of the file; nothing when it fails or is longer than the limit.
  [[nodiscard]] std::optional<std::string> ReadAll(std::size_t nLimit) const;

 private:
  int m_iDescriptor = -1;
};

/// Puts a new file in the place of `name` in the folder: a temporary file beside it is written by `write`, brought to
/// the medium, and renamed; then the folder is brought to the medium. If anything fails before the renaming the old
/// file stands, and no temporary file is left.
bool ReplaceAt(const HostFile& folder, const std::string& name, const std::function<bool(const HostFile&)>& write);
/// The same for a path of the host and fixed bytes.
bool ReplaceHostFile(const std::string& path, std::string_view bytes);

}  // namespace photometer::platform
