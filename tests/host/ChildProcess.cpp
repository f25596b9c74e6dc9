#include "host/ChildProcess.h"

#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace host {

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, Streams streams) {
  std::vector<char*> words;
  for (const std::string& argument : arguments) {
    words.push_back(const_cast<char*>(argument.c_str()));
  }
  words.push_back(nullptr);
  streams == Streams::Pipes ? RunOnPipes(words.data()) : RunOnTerminal(words.data());
}

void ChildProcess::RunOnPipes(char* const* pWords) {
  std::array<std::array<int, 2>, 3> pipes{};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int i = 0; i < 3; ++i) {
    auto& ends = pipes[static_cast<std::size_t>(i)];
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_adddup2(&actions, ends[i == 0 ? 0 : 1], i);
  }
  const int iResult = posix_spawn(&m_pid, pWords[0], &actions, nullptr, pWords, environ);
  posix_spawn_file_actions_destroy(&actions);
  for (const int iEnd : {pipes[0][0], pipes[1][1], pipes[2][1]}) {
    close(iEnd);
  }
  m_iInput = pipes[0][1];
  m_iOutput = pipes[1][0];
  m_iError = pipes[2][0];
  if (iResult != 0) {
    throw std::runtime_error(std::string("cannot run ") + pWords[0]);
  }
}

void ChildProcess::RunOnTerminal(char* const* pWords) {
  const winsize size{24, 120, 0, 0};
  m_pid = forkpty(&m_iOutput, nullptr, nullptr, &size);
  if (m_pid == 0) {
    execv(pWords[0], pWords);
    _exit(127);
  }
  m_iInput = dup(m_iOutput);
}

ChildProcess::~ChildProcess() {
  if (m_pid > 0) {
    kill(m_pid, SIGKILL);
    Wait();
  }
  for (const int iDescriptor : {m_iInput, m_iOutput, m_iError}) {
    close(iDescriptor);
  }
}

void ChildProcess::Write(const std::string& text) const {
  if (write(m_iInput, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("the child does not listen");
  }
}

std::string ChildProcess::ReadUntil(int iDescriptor, const std::string& text) {
  std::string all;
  char character = 0;
  while ((text.empty() || all.find(text) == std::string::npos) && read(iDescriptor, &character, 1) == 1) {
    all += character;
  }
  return all;
}

void ChildProcess::Signal(int iSignal) const { kill(m_pid, iSignal); }

int ChildProcess::Wait() {
  int iStatus = 0;
  waitpid(m_pid, &iStatus, 0);
  m_pid = -1;
  return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -WTERMSIG(iStatus);
}

}  // namespace host
