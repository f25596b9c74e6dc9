#include "platform/Transcript.h"

#include <array>
#include <cstdio>
#include <mutex>

#include "platform/Sanitizers.h"

namespace photometer::platform {

namespace {

constexpr std::uint64_t HashBasis = 0xCBF29CE484222325U;
constexpr std::uint64_t HashPrime = 0x100000001B3U;
constexpr std::uint64_t MicrosecondsPerMillisecond = 1000;

std::string TimeText(std::uint64_t nMicroseconds) {
  std::array<char, 32> text{};
  const int nLength = std::snprintf(text.data(), text.size(), "%llu.%03u",
                                    static_cast<unsigned long long>(nMicroseconds / MicrosecondsPerMillisecond),
                                    static_cast<unsigned>(nMicroseconds % MicrosecondsPerMillisecond));
  return {text.data(), static_cast<std::size_t>(nLength)};
}

}  // namespace

// Tracing must not hide a race from the thread sanitizer: each access to the state stands in an unobserved scope, so
// that the mutex orders nothing but the transcript itself.
struct Transcript::State {
  std::mutex mutex;
  std::vector<std::string> lines;
  std::uint64_t nHash = HashBasis;
  std::ostream* pStream = nullptr;
};

Transcript::Transcript() : m_pState(std::make_unique<State>()) {}
Transcript::~Transcript() = default;

void Transcript::Note(std::uint64_t nMicroseconds, std::string_view channel, std::string_view text) {
  std::string line = TimeText(nMicroseconds);
  line += '\t';
  line += channel;
  line += '\t';
  line += Printable(text);
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  if (m_pState->pStream != nullptr) {
    *m_pState->pStream << line << '\n' << std::flush;
  }
  for (const char character : line) {
    m_pState->nHash = (m_pState->nHash ^ static_cast<unsigned char>(character)) * HashPrime;
  }
  m_pState->nHash = (m_pState->nHash ^ '\n') * HashPrime;
  m_pState->lines.push_back(std::move(line));
}

void Transcript::WriteTo(std::ostream* pStream) {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  m_pState->pStream = pStream;
}

std::vector<std::string> Transcript::Lines() const {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  return m_pState->lines;
}

std::vector<std::string> Transcript::Texts(std::string_view channel) const {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  const std::string field = '\t' + std::string(channel) + '\t';
  std::vector<std::string> texts;
  for (const std::string& line : m_pState->lines) {
    const std::size_t nChannel = line.find('\t');
    if (line.compare(nChannel, field.size(), field) == 0) {
      texts.push_back(line.substr(nChannel + field.size()));
    }
  }
  return texts;
}

std::uint64_t Transcript::Hash() const {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  return m_pState->nHash;
}

void Transcript::Clear() {
  const UnobservedScope scope;
  const std::lock_guard lock(m_pState->mutex);
  m_pState->lines.clear();
  m_pState->nHash = HashBasis;
}

std::string Printable(std::string_view bytes) {
  constexpr std::string_view Digits = "0123456789ABCDEF";
  std::string text;
  text.reserve(bytes.size());
  for (const char character : bytes) {
    const auto nByte = static_cast<unsigned char>(character);
    if (nByte >= ' ' && nByte <= '~' && character != '\\') {
      text += character;
      continue;
    }
    text += "\\x";
    text += Digits[nByte / 16];
    text += Digits[nByte % 16];
  }
  return text;
}

}  // namespace photometer::platform
