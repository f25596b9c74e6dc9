// What a call of the layer costs on the virtual board, and a night of an instrument that stands idle.
#include <array>
#include <atomic>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/Platform.h"
#include "platform/virtual/VirtualBoard.h"

namespace {

using namespace photometer;
using namespace photometer::platform;

constexpr DWORD OneHour = 3600 * 1000;

VirtualBoardOptions WithPolicy(const benchmark::State& state) {
  VirtualBoardOptions options;
  options.policy = static_cast<Policy>(state.range(0));
  return options;
}

/// A line on which nothing happens.
struct SilentDevice final : simulator::SerialDevice {
  void Receive(simulator::Time /*now*/, std::string_view /*bytes*/) override {}
  [[nodiscard]] simulator::Time NextActivity() const override { return simulator::Never; }
  std::string TakeOutput(simulator::Time /*now*/) override { return {}; }
};

void Join(std::vector<HANDLE>& threads) {
  for (const HANDLE hThread : threads) {
    WaitForSingleObject(hThread, INFINITE);
    CloseHandle(hThread);
  }
  threads.clear();
}

/// A thread that calls and calls while time stands still is said to spin.
void LetTimeMove(DWORD* pCalls) {
  if (++*pCalls % 0x10000 == 0) {
    Sleep(1);
  }
}

void CountSwitches(benchmark::State& state, const VirtualBoard& board, std::uint64_t nBefore) {
  const double dSwitches = static_cast<double>(board.Switches() - nBefore);
  state.counters["switch"] = benchmark::Counter(dSwitches, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

/// Two threads that give way to each other: two switches through the scheduler.
void GiveWay(benchmark::State& state) {
  VirtualBoard board;
  SetBoard(&board);
  std::atomic<bool> bStop{false};
  std::vector<HANDLE> threads{CreateThread(
      [&bStop] {
        DWORD dwCalls = 0;
        while (!bStop) {
          Sleep(0);
          LetTimeMove(&dwCalls);
        }
      },
      "Other", nullptr)};
  const std::uint64_t nBefore = board.Switches();
  DWORD dwCalls = 0;
  for (auto _ : state) {
    Sleep(0);
    LetTimeMove(&dwCalls);
  }
  CountSwitches(state, board, nBefore);
  bStop = true;
  Join(threads);
  SetBoard(nullptr);
}
BENCHMARK(GiveWay);

/// Two threads that wake each other by events: four calls, at least two switches.
void WakeEachOther(benchmark::State& state) {
  VirtualBoard board(WithPolicy(state));
  SetBoard(&board);
  const HANDLE hThere = CreateEventW(FALSE, FALSE, nullptr);
  const HANDLE hBack = CreateEventW(FALSE, FALSE, nullptr);
  bool bStop = false;
  std::vector<HANDLE> threads{CreateThread(
      [&] {
        while (WaitForSingleObject(hThere, INFINITE) == WAIT_OBJECT_0 && !bStop) {
          SetEvent(hBack);
        }
      },
      "Other", nullptr)};
  const std::uint64_t nBefore = board.Switches();
  DWORD dwCalls = 0;
  for (auto _ : state) {
    SetEvent(hThere);
    WaitForSingleObject(hBack, INFINITE);
    LetTimeMove(&dwCalls);
  }
  CountSwitches(state, board, nBefore);
  bStop = true;
  SetEvent(hThere);
  Join(threads);
  CloseHandle(hThere);
  CloseHandle(hBack);
  SetBoard(nullptr);
}
BENCHMARK(WakeEachOther)->ArgName("policy")->DenseRange(0, 2);

/// Entering and leaving a free lock while nobody else can run.
void FreeLock(benchmark::State& state) {
  VirtualBoard board;
  SetBoard(&board);
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section, "m_csState");
  DWORD dwCalls = 0;
  for (auto _ : state) {
    EnterCriticalSection(&section);
    LeaveCriticalSection(&section);
    LetTimeMove(&dwCalls);
  }
  DeleteCriticalSection(&section);
  SetBoard(nullptr);
}
BENCHMARK(FreeLock);

/// A thread from its creation to its end.
void ThreadLife(benchmark::State& state) {
  VirtualBoard board;
  SetBoard(&board);
  for (auto _ : state) {
    const HANDLE hThread = CreateThread([] { Sleep(1); }, "Short", nullptr);
    WaitForSingleObject(hThread, INFINITE);
    CloseHandle(hThread);
  }
  SetBoard(nullptr);
}
BENCHMARK(ThreadLife);

/// The threads of an idle instrument: timer, cuvette reader, three port readers.
class IdleInstrument {
 public:
  IdleInstrument() {
    InitializeCriticalSection(&m_csState, "m_csState");
    m_hStop = CreateEventW(TRUE, FALSE, nullptr);
    Start("Timer", [this] { Poll(1000); });
    Start("CuvetteReader", [this] { Poll(20); });
    for (const char16_t* name : {u"COM1:", u"COM2:", u"COM6:"}) {
      const HANDLE hPort = CreateFileW(name);
      m_ports.push_back(hPort);
      Start("Reader", [this, hPort] { ReadPort(hPort); });
    }
  }
  ~IdleInstrument() {
    EnterCriticalSection(&m_csState);
    m_bStop = true;
    LeaveCriticalSection(&m_csState);
    SetEvent(m_hStop);
    Join(m_threads);
    for (const HANDLE hPort : m_ports) {
      CloseHandle(hPort);
    }
    CloseHandle(m_hStop);
    DeleteCriticalSection(&m_csState);
  }
  IdleInstrument(const IdleInstrument&) = delete;
  IdleInstrument& operator=(const IdleInstrument&) = delete;

 private:
  void Start(const char* name, std::function<void()> body) {
    m_threads.push_back(CreateThread(std::move(body), name, nullptr));
  }
  bool Stopped() {
    EnterCriticalSection(&m_csState);
    const bool bStop = m_bStop;
    LeaveCriticalSection(&m_csState);
    return bStop;
  }
  void Poll(DWORD dwMilliseconds) {
    while (WaitForSingleObject(m_hStop, dwMilliseconds) == WAIT_TIMEOUT) {
      Stopped();
    }
  }
  void ReadPort(HANDLE hPort) {
    const COMMTIMEOUTS timeouts{1, 1, 1, 1, 1};
    SetCommTimeouts(hPort, &timeouts);
    std::array<char, 192> block{};
    DWORD dwRead = 0;
    while (!Stopped()) {
      ReadFile(hPort, block.data(), static_cast<DWORD>(block.size()), &dwRead);
    }
  }

  CRITICAL_SECTION m_csState;
  HANDLE m_hStop = 0;
  bool m_bStop = false;
  std::vector<HANDLE> m_ports;
  std::vector<HANDLE> m_threads;
};

/// Ten hours an iteration.
void TenIdleHours(benchmark::State& state) {
  double dPoints = 0;
  double dSwitches = 0;
  for (auto _ : state) {
    VirtualBoard board(WithPolicy(state));
    SilentDevice device;
    for (const char16_t* name : {u"COM1:", u"COM2:", u"COM6:"}) {
      board.PlugPort(name, device);
    }
    SetBoard(&board);
    {
      const IdleInstrument instrument;
      Sleep(10 * OneHour);
    }
    dPoints = static_cast<double>(board.Points());
    dSwitches = static_cast<double>(board.Switches());
    if (!board.Reports().empty() || !board.Leftovers().empty()) {
      state.SkipWithError("the run broke a rule or left something");
    }
    SetBoard(nullptr);
  }
  state.counters["points"] = dPoints;
  state.counters["switches"] = dSwitches;
}
BENCHMARK(TenIdleHours)->ArgName("policy")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
