#include "Words.h"

#include <fmt/format.h>

namespace host {

namespace {

class Splitter {
 public:
  /// False: the rest of the line is a comment.
  bool Take(char character) {
    if (m_bEscaped) {
      m_bEscaped = false;
      Add(character);
    } else if (character == '\\' && m_cQuote != '\'') {
      m_bEscaped = true;
      m_bWord = true;
    } else if (m_cQuote != '\0') {
      TakeQuoted(character);
    } else if (character == '\'' || character == '"') {
      m_cQuote = character;
      m_bWord = true;
    } else if (character == ' ' || character == '\t' || character == '\r') {
      EndWord();
    } else if (character == '#' && !m_bWord) {
      return false;
    } else {
      Add(character);
    }
    return true;
  }

  std::variant<std::vector<std::string>, std::string> Finish() {
    if (m_cQuote != '\0') {
      return fmt::format("a quote {} has no end; write another one", m_cQuote);
    }
    if (m_bEscaped) {
      return "nothing follows the backslash at the end; take it off";
    }
    EndWord();
    return std::move(m_words);
  }

 private:
  void TakeQuoted(char character) {
    if (character == m_cQuote) {
      m_cQuote = '\0';
    } else {
      Add(character);
    }
  }
  void Add(char character) {
    m_strWord += character;
    m_bWord = true;
  }
  void EndWord() {
    if (m_bWord) {
      m_words.push_back(std::move(m_strWord));
      m_strWord.clear();
      m_bWord = false;
    }
  }

  std::vector<std::string> m_words;
  std::string m_strWord;
  /// There is a word, perhaps an empty one in quotes.
  bool m_bWord = false;
  bool m_bEscaped = false;
  char m_cQuote = '\0';
};

}  // namespace

std::variant<std::vector<std::string>, std::string> SplitWords(std::string_view line) {
  Splitter splitter;
  for (const char character : line) {
    if (!splitter.Take(character)) {
      break;
    }
  }
  return splitter.Finish();
}

std::string QuoteWord(std::string_view word) {
  constexpr std::string_view Plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_=.,:/+";
  if (!word.empty() && word.find_first_not_of(Plain) == std::string_view::npos) {
    return std::string(word);
  }
  std::string quoted = "'";
  for (const char character : word) {
    quoted += character == '\'' ? "'\\''" : std::string(1, character);
  }
  return quoted + "'";
}

}  // namespace host
