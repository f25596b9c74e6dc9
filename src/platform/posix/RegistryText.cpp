#include "platform/posix/RegistryText.h"

#include <algorithm>
#include <charconv>

#include "platform/posix/ControlCharacter.h"

namespace photometer::platform {

namespace {

std::string_view Trimmed(std::string_view text) {
  const std::size_t nStart = std::min(text.find_first_not_of(" \t\r"), text.size());
  text.remove_prefix(nStart);
  return text.substr(0, text.find_last_not_of(" \t\r") + 1);
}

bool IsName(std::string_view text) {
  return !text.empty() && text == Trimmed(text) && text.find_first_of("=[]#") == std::string_view::npos &&
         std::none_of(text.begin(), text.end(), IsControl);
}

std::optional<DWORD> NumberOf(const std::string& text) {
  DWORD dwValue = 0;
  const char* pEnd = text.data() + text.size();
  const auto [pStop, error] = std::from_chars(text.data(), pEnd, dwValue);
  return error == std::errc() && pStop == pEnd ? std::optional<DWORD>(dwValue) : std::nullopt;
}

}  // namespace

std::optional<RegistryText> RegistryText::Parse(std::string_view text) {
  RegistryText registry;
  while (!text.empty()) {
    const std::size_t nEnd = std::min(text.find('\n'), text.size());
    if (!registry.AddLine(text.substr(0, nEnd))) {
      return std::nullopt;
    }
    text.remove_prefix(std::min(nEnd + 1, text.size()));
  }
  return registry;
}

bool RegistryText::AddLine(std::string_view text) {
  const std::string_view content = Trimmed(text);
  Line line{std::string(text), m_keys.empty() ? std::string() : m_keys.back(), {}, {}};
  if (content.starts_with('[') && content.ends_with(']')) {
    line.key = content.substr(1, content.size() - 2);
    if (!IsName(line.key) || HasKey(line.key)) {
      return false;
    }
    m_keys.push_back(line.key);
  } else if (!content.empty() && !content.starts_with('#')) {
    const std::size_t nEqual = content.find('=');
    if (nEqual == std::string_view::npos || m_keys.empty()) {
      return false;
    }
    line.name = Trimmed(content.substr(0, nEqual));
    line.value = Trimmed(content.substr(nEqual + 1));
    if (!IsName(line.name)) {
      return false;
    }
  }
  m_lines.push_back(std::move(line));
  return true;
}

bool RegistryText::HasKey(const std::string& key) const {
  return std::find(m_keys.begin(), m_keys.end(), key) != m_keys.end();
}

std::vector<std::size_t> RegistryText::IndicesOf(const std::string& key, const std::string& name) const {
  std::vector<std::size_t> indices;
  for (std::size_t nIndex = 0; nIndex < m_lines.size(); ++nIndex) {
    if (m_lines[nIndex].key == key && m_lines[nIndex].name == name) {
      indices.push_back(nIndex);
    }
  }
  return indices;
}

std::optional<DWORD> RegistryText::Find(const std::string& key, const std::string& name) const {
  const std::vector<std::size_t> indices = IndicesOf(key, name);
  return name.empty() || indices.size() != 1 ? std::nullopt : NumberOf(m_lines[indices.front()].value);
}

std::size_t RegistryText::EndOfKey(const std::string& key) const {
  const auto isContent = [&key](const Line& line) { return line.key == key && !Trimmed(line.text).empty(); };
  return static_cast<std::size_t>(std::find_if(m_lines.rbegin(), m_lines.rend(), isContent).base() - m_lines.begin());
}

bool RegistryText::Set(const std::string& key, const std::string& name, DWORD dwValue) {
  if (!HasKey(key) || !IsName(name)) {
    return false;
  }
  const std::string value = std::to_string(dwValue);
  Line line{name + "=" + value, key, name, value};
  const std::vector<std::size_t> indices = IndicesOf(key, name);
  if (indices.empty()) {
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(EndOfKey(key)), std::move(line));
    return true;
  }
  if (!Find(key, name).has_value()) {
    return false;
  }
  m_lines[indices.front()] = std::move(line);
  return true;
}

std::string RegistryText::ToText() const {
  std::string text;
  for (const Line& line : m_lines) {
    text += line.text + "\n";
  }
  return text;
}

}  // namespace photometer::platform
