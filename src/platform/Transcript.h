/// The record of a run: one event a line, `milliseconds.microseconds <TAB> channel <TAB> text`.
///
/// Channels are `COM2>` (host to port) and `COM2<` (port to host) and so on, `sink`, `log`, `debug`, `pin`, `registry`.
/// Bytes outside printable ASCII, and the backslash, are written `\xNN`. The hash covers every line.
/// All operations may be called from all threads, on both boards.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace photometer::platform {

class Transcript {
 public:
  Transcript();
  ~Transcript();
  Transcript(const Transcript&) = delete;
  Transcript& operator=(const Transcript&) = delete;

  void Note(std::uint64_t nMicroseconds, std::string_view channel, std::string_view text);
  /// Every line from now on is also written there; null ends it. The stream must outlive its use.
  void WriteTo(std::ostream* pStream);
  /// Lines so far, each without its line end.
  [[nodiscard]] std::vector<std::string> Lines() const;
  /// The texts of one channel, in order, without time and channel.
  [[nodiscard]] std::vector<std::string> Texts(std::string_view channel) const;
  /// 64-bit FNV-1a over all lines.
  [[nodiscard]] std::uint64_t Hash() const;
  void Clear();

 private:
  struct State;
  std::unique_ptr<State> m_pState;
};

/// Printable ASCII as it is, everything else and the backslash as `\xNN`.
std::string Printable(std::string_view bytes);

}  // namespace photometer::platform
