/// Frames of the pumps: one byte STX, the text, one byte ETX. No length, no checksum.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace photometer {

inline constexpr char STX = '\x02';
inline constexpr char ETX = '\x03';

/// The text with its start and end byte.
std::string Framed(std::string_view text);

/// Takes the text of the first complete frame out of the buffer, with all that precedes it. Frames begin at the first
/// start byte before their end byte; an end byte without one is dropped with what precedes it.
std::optional<std::string> ExtractFrame(std::string* pBuffer);

/// Collects blocks and gives frames. Bounded: without an end byte the newest bytes are kept.
class FrameReader {
 public:
  /// Many times the longest frame, bytes.
  static constexpr std::size_t CAPACITY = 4096;

  /// True: bytes were dropped for the first time since the object was made.
  bool Append(std::string_view bytes);
  /// The next complete frame's text.
  std::optional<std::string> ExtractFrame() { return photometer::ExtractFrame(&m_strBuffer); }
  /// All bytes, framed or not.
  std::string TakeAll();
  void Clear() { m_strBuffer.clear(); }

  enum class Banner { None, Incomplete, Taken };
  /// Looks for a text without frame that `nSkip` and then `nLength` bytes follow: gives these, and takes everything up
  /// to their end out of the buffer. `Incomplete`: some of them have yet to come; the buffer is as it was.
  Banner TakeBanner(std::string_view identity, std::size_t nSkip, std::size_t nLength, std::string* pText);

 private:
  std::string m_strBuffer;
  bool m_bDropReported = false;
};

}  // namespace photometer
