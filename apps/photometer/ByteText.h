/// Bytes of a line as a person sees and types them: what does not print as \xNN.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// A message with words of a person or file in it: control characters, which a terminal would obey, as \xNN. Line ends
/// and letters of every language stay.
std::string Harmless(std::string_view message);

/// The bytes that a text stands for: each \xNN is one byte, everything else stands for itself.
std::string BytesOf(std::string_view text);

/// Makes lines of what arrives in blocks of any size: printing ASCII as it is, everything else as \xNN. A line ends
/// behind a line feed, which is shown.
class ArrivingLines {
 public:
  /// Takes a block; returns the lines that it completes, each as text and ended.
  std::string Take(std::string_view bytes);
  /// The line that has begun, as text and ended; empty without one.
  std::string TakeRest();
  [[nodiscard]] bool HasRest() const { return !m_strBegun.empty(); }

 private:
  /// Bytes.
  std::string m_strBegun;
};

}  // namespace host
