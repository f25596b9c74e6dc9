/// A program run as a child process, its standard streams on pipes or on a terminal of its own.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace host {

class ChildProcess {
 public:
  enum class Streams { Pipes, Terminal };

  /// The first argument is the program's path. What it writes to a terminal is its output.
  explicit ChildProcess(const std::vector<std::string>& arguments, Streams streams = Streams::Pipes);
  /// Kills it if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void Write(const std::string& text) const;
  /// Reads from standard output or standard error until the text has come or the stream ends; returns all that came.
  std::string ReadOutputUntil(const std::string& text) { return ReadUntil(m_iOutput, text); }
  std::string ReadErrorUntil(const std::string& text) { return ReadUntil(m_iError, text); }
  void Signal(int iSignal) const;
  /// Waits for its end; its exit code, or minus the signal that ended it.
  int Wait();

 private:
  void RunOnPipes(char* const* pWords);
  void RunOnTerminal(char* const* pWords);
  static std::string ReadUntil(int iDescriptor, const std::string& text);

  pid_t m_pid = -1;
  int m_iInput = -1;
  int m_iOutput = -1;
  int m_iError = -1;
};

}  // namespace host
