#include "Isolation.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace explorer {

namespace {

/// Decisions of a long run, and a transcript's last lines.
constexpr std::size_t OutcomeBytes = std::size_t{64} * 1024 * 1024;

/// The board gives a run up in which a thread spins, and says why on standard error.
constexpr int GivenUp = 3;

/// Fields of an outcome in shared memory, each with its length before it.
class FieldWriter {
 public:
  explicit FieldWriter(const SharedMemory& memory) : m_memory(memory) {}

  void Put(const void* pData, std::size_t nBytes) {
    const std::size_t nAll = sizeof nBytes + nBytes;
    if (m_nUsed + nAll + sizeof nBytes > m_memory.Size()) {
      return;
    }
    char* const pField = static_cast<char*>(m_memory.Address()) + m_nUsed;
    std::memcpy(pField, &nBytes, sizeof nBytes);
    if (nBytes > 0) {
      std::memcpy(pField + sizeof nBytes, pData, nBytes);
    }
    m_nUsed += nAll;
  }
  void Put(const std::string& text) { Put(text.data(), text.size()); }
  void Put(std::uint64_t nValue) { Put(&nValue, sizeof nValue); }

 private:
  const SharedMemory& m_memory;
  std::size_t m_nUsed = 0;
};

class FieldReader {
 public:
  explicit FieldReader(const SharedMemory& memory) : m_pNext(static_cast<const char*>(memory.Address())) {}

  std::string Text() {
    std::size_t nBytes = 0;
    std::memcpy(&nBytes, m_pNext, sizeof nBytes);
    std::string text(m_pNext + sizeof nBytes, nBytes);
    m_pNext += sizeof nBytes + nBytes;
    return text;
  }
  std::uint64_t Number() {
    const std::string text = Text();
    std::uint64_t nValue = 0;
    std::memcpy(&nValue, text.data(), std::min(sizeof nValue, text.size()));
    return nValue;
  }

 private:
  const char* m_pNext;
};

void Write(const Outcome& outcome, const SharedMemory& memory) {
  FieldWriter writer(memory);
  writer.Put(outcome.nHash);
  writer.Put(outcome.nPoints);
  writer.Put(outcome.nMicroseconds);
  writer.Put(outcome.violations.size());
  for (const Violation& violation : outcome.violations) {
    writer.Put(violation.property);
    writer.Put(violation.text);
  }
  writer.Put(outcome.lines.size());
  for (const std::string& line : outcome.lines) {
    writer.Put(line);
  }
  writer.Put(outcome.decisions.data(), outcome.decisions.size() * sizeof(photometer::platform::Decision));
}

Outcome Read(const SharedMemory& memory) {
  FieldReader reader(memory);
  Outcome outcome;
  outcome.nHash = reader.Number();
  outcome.nPoints = reader.Number();
  outcome.nMicroseconds = reader.Number();
  for (std::uint64_t n = reader.Number(); n > 0; --n) {
    std::string property = reader.Text();
    outcome.violations.push_back({std::move(property), reader.Text()});
  }
  for (std::uint64_t n = reader.Number(); n > 0; --n) {
    outcome.lines.push_back(reader.Text());
  }
  const std::string decisions = reader.Text();
  outcome.decisions.resize(decisions.size() / sizeof(photometer::platform::Decision));
  if (!decisions.empty()) {
    std::memcpy(outcome.decisions.data(), decisions.data(), decisions.size());
  }
  return outcome;
}

}  // namespace

SharedMemory::SharedMemory(std::size_t nBytes)
    : m_pAddress(mmap(nullptr, nBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)),
      m_nBytes(nBytes) {
  if (m_pAddress == MAP_FAILED) {
    throw std::bad_alloc();
  }
}

SharedMemory::~SharedMemory() { munmap(m_pAddress, m_nBytes); }

int StartProcess(const std::function<int()>& body) {
  std::fflush(nullptr);
  const int iProcess = fork();
  if (iProcess == 0) {
    const int iResult = body();
    std::fflush(nullptr);
    std::_Exit(iResult);
  }
  return iProcess;
}

int AnyEndedProcess() {
  siginfo_t ended{};
  while (waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return ended.si_pid;
}

std::string WaitForProcess(int iProcess, int* pResult) {
  int iStatus = 0;
  if (iProcess < 0) {
    return "no process could be started";
  }
  while (waitpid(iProcess, &iStatus, 0) < 0 && errno == EINTR) {
  }
  *pResult = WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -1;
  if (WIFEXITED(iStatus)) {
    if (*pResult == 0 || *pResult == 1) {
      return {};
    }
    return *pResult == GivenUp ? "the board gave the run up" : "the process ended with " + std::to_string(*pResult);
  }
  return WTERMSIG(iStatus) == SIGALRM ? "the run does not end" : std::string("signal: ") + strsignal(WTERMSIG(iStatus));
}

Outcome RunIsolated(const Plan& plan, const RunOptions& options, unsigned nSeconds) {
  const SharedMemory memory(OutcomeBytes);
  const int iProcess = StartProcess([&] {
    alarm(nSeconds);
    RunOptions inChild = options;
    inChild.onDeadlock = [&](const Violation& violation) {
      Outcome outcome;
      outcome.violations.push_back(violation);
      Write(outcome, memory);
      std::_Exit(0);
    };
    Write(RunPlan(plan, inChild), memory);
    return 0;
  });
  int iResult = 0;
  const std::string wrong = WaitForProcess(iProcess, &iResult);
  Outcome outcome;
  if (wrong.empty()) {
    outcome = Read(memory);
  } else {
    outcome.violations.push_back({"no crash", wrong});
  }
  return outcome;
}

}  // namespace explorer
