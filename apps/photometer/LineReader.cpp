#include "LineReader.h"

#include <histedit.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <utility>

namespace host {

namespace {

constexpr const char* Prompt = "photometer> ";
constexpr int HistoryLines = 1000;
constexpr std::size_t LongestLine = 64U << 10;
// A request that comes just before the wait is noticed within this time, ms.
constexpr int WaitSlice = 200;

/// Waits for something to read, or a request to end.
bool WaitForInput(const Interrupt& interrupt) {
  while (interrupt.Count() == 0) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    const int iReady = poll(&input, 1, WaitSlice);
    if (iReady > 0 || (iReady < 0 && errno != EINTR)) {
      return true;
    }
  }
  return false;
}

/// Makes the folder of the history; empty when there is no place for it.
std::string HistoryFile() {
  const char* pState = std::getenv("XDG_STATE_HOME");
  const char* pHome = std::getenv("HOME");
  std::filesystem::path folder;
  if (pState != nullptr && *pState == '/') {
    folder = pState;
  } else if (pHome != nullptr && *pHome == '/') {
    folder = std::filesystem::path(pHome) / ".local" / "state";
  } else {
    return {};
  }
  folder /= "photometer";
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  return error ? std::string() : (folder / "history").string();
}

class PlainLines final : public LineReader {
 public:
  explicit PlainLines(const Interrupt& interrupt) : m_interrupt(interrupt) {}

  InputLine Read() override {
    for (;;) {
      if (const std::size_t nEnd = m_strBuffer.find('\n'); nEnd != std::string::npos) {
        InputLine line{InputEnd::Line, m_strBuffer.substr(0, nEnd)};
        m_strBuffer.erase(0, nEnd + 1);
        return line;
      }
      if (!WaitForInput(m_interrupt)) {
        return {InputEnd::Interrupted, {}};
      }
      if (!Fill()) {
        const InputEnd end = m_strBuffer.empty() ? InputEnd::Closed : InputEnd::Line;
        return {end, std::exchange(m_strBuffer, {})};
      }
    }
  }

  [[nodiscard]] bool HasTerminal() const override { return false; }

 private:
  /// False: nothing more comes, or what comes is no text.
  bool Fill() {
    std::array<char, 4096> bytes{};
    const ssize_t nRead = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (nRead > 0) {
      m_strBuffer.append(bytes.data(), static_cast<std::size_t>(nRead));
    }
    return nRead > 0 && m_strBuffer.size() <= LongestLine;
  }

  const Interrupt& m_interrupt;
  std::string m_strBuffer;
};

class EditedLines final : public LineReader {
 public:
  EditedLines(const Interrupt& interrupt, Completer completer, std::string historyFile)
      : m_interrupt(interrupt), m_completer(std::move(completer)), m_strHistory(std::move(historyFile)) {
    // Characters of several bytes are one on the screen; numbers keep their point.
    std::setlocale(LC_CTYPE, "");
    m_pHistory = history_init();
    HistEvent event{};
    history(m_pHistory, &event, H_SETSIZE, HistoryLines);
    history(m_pHistory, &event, H_SETUNIQUE, 1);
    if (!m_strHistory.empty()) {
      history(m_pHistory, &event, H_LOAD, m_strHistory.c_str());
    }
    m_pEditor = el_init("photometer", stdin, stderr, stderr);
    el_set(m_pEditor, EL_CLIENTDATA, this);
    el_set(m_pEditor, EL_PROMPT, &EditedLines::PromptText);
    el_set(m_pEditor, EL_EDITOR, "emacs");
    el_set(m_pEditor, EL_HIST, history, m_pHistory);
    el_set(m_pEditor, EL_GETCFN, &EditedLines::ReadCharacter);
    el_set(m_pEditor, EL_ADDFN, "complete", "complete a command or an option", &EditedLines::Complete);
    el_set(m_pEditor, EL_BIND, "^I", "complete", nullptr);
    el_set(m_pEditor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(m_pEditor, nullptr);
  }

  ~EditedLines() override {
    el_end(m_pEditor);
    history_end(m_pHistory);
  }

  EditedLines(const EditedLines&) = delete;
  EditedLines& operator=(const EditedLines&) = delete;

  InputLine Read() override {
    m_bInterrupted = false;
    int iCount = 0;
    const char* pLine = el_gets(m_pEditor, &iCount);
    if (m_bInterrupted) {
      el_reset(m_pEditor);
      return {InputEnd::Interrupted, {}};
    }
    if (pLine == nullptr || iCount <= 0) {
      return {};
    }
    std::string text(pLine, static_cast<std::size_t>(iCount));
    text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
    Remember(text);
    return {InputEnd::Line, text};
  }

  [[nodiscard]] bool HasTerminal() const override { return true; }

 private:
  static EditedLines& Of(EditLine* pEditor) {
    void* pSelf = nullptr;
    el_get(pEditor, EL_CLIENTDATA, &pSelf);
    return *static_cast<EditedLines*>(pSelf);
  }

  static char* PromptText(EditLine*) { return const_cast<char*>(Prompt); }

  static int ReadCharacter(EditLine* pEditor, wchar_t* pCharacter) {
    EditedLines& self = Of(pEditor);
    std::mbstate_t state{};
    for (;;) {
      if (!WaitForInput(self.m_interrupt)) {
        self.m_bInterrupted = true;
        return -1;
      }
      char cByte = 0;
      if (read(STDIN_FILENO, &cByte, 1) != 1) {
        return 0;
      }
      const std::size_t nResult = std::mbrtowc(pCharacter, &cByte, 1, &state);
      if (nResult <= 1) {
        return 1;
      }
      if (nResult == static_cast<std::size_t>(-1)) {
        state = {};  // no character: skip the byte
      }
    }
  }

  static unsigned char Complete(EditLine* pEditor, int /*iKey*/) {
    EditedLines& self = Of(pEditor);
    const LineInfo* pLine = el_line(pEditor);
    const std::string text(pLine->buffer, pLine->cursor);
    const std::string word = text.substr(text.find_last_of(' ') + 1);
    const std::vector<std::string> words = self.m_completer(text);
    if (words.empty()) {
      return CC_ERROR;
    }
    std::string common = words.front();
    for (const std::string& one : words) {
      const auto [end, other] = std::mismatch(common.begin(), common.end(), one.begin(), one.end());
      common.erase(end, common.end());
    }
    if (words.size() == 1) {
      common += ' ';
    }
    if (common.size() > word.size()) {
      return el_insertstr(pEditor, common.c_str() + word.size()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    std::string list = "\n";
    for (const std::string& one : words) {
      list += one + "  ";
    }
    std::fputs((list + "\n").c_str(), stderr);
    return CC_REDISPLAY;
  }

  void Remember(const std::string& text) {
    if (text.find_first_not_of(" \t") == std::string::npos) {
      return;
    }
    HistEvent event{};
    history(m_pHistory, &event, H_ENTER, text.c_str());
    if (!m_strHistory.empty()) {
      // After each line: the terminal may be closed at any time.
      history(m_pHistory, &event, H_SAVE, m_strHistory.c_str());
    }
  }

  const Interrupt& m_interrupt;
  Completer m_completer;
  std::string m_strHistory;
  History* m_pHistory = nullptr;
  EditLine* m_pEditor = nullptr;
  bool m_bInterrupted = false;
};

}  // namespace

std::unique_ptr<LineReader> MakeLineReader(const Interrupt& interrupt, Completer completer) {
  if (isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1) {
    return std::make_unique<EditedLines>(interrupt, std::move(completer), HistoryFile());
  }
  return std::make_unique<PlainLines>(interrupt);
}

}  // namespace host
