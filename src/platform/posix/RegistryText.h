/// The text of the registry file; PosixRegistry.h describes it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "photometer/Types.h"

namespace photometer::platform {

class RegistryText {
 public:
  /// Nothing: the text is damaged beyond single values.
  static std::optional<RegistryText> Parse(std::string_view text);

  [[nodiscard]] bool HasKey(const std::string& key) const;
  [[nodiscard]] std::optional<DWORD> Find(const std::string& key, const std::string& name) const;
  /// Sets a value, or adds it to its key. False: there is no such key, the value is damaged, or the name cannot be
  /// written.
  bool Set(const std::string& key, const std::string& name, DWORD dwValue);
  [[nodiscard]] std::string ToText() const;

 private:
  struct Line {
    /// As in the file.
    std::string text;
    /// The key that it begins or belongs to.
    std::string key;
    /// Of a value; empty for all other lines.
    std::string name;
    std::string value;
  };

  bool AddLine(std::string_view text);
  [[nodiscard]] std::vector<std::size_t> IndicesOf(const std::string& key, const std::string& name) const;
  [[nodiscard]] std::size_t EndOfKey(const std::string& key) const;

  std::vector<Line> m_lines;
  std::vector<std::string> m_keys;
};

}  // namespace photometer::platform
