/// What the POSIX board costs: wake-ups of an idle board with three readers, and a short command's way out and back
/// over a pseudo-terminal, beside a bare client that blocks in the kernel.
#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/Platform.h"
#include "platform/posix/PosixBoard.h"

namespace {

using namespace photometer;
using namespace photometer::platform;
using Clock = std::chrono::steady_clock;

constexpr std::string_view Command = "$s1\r";
constexpr std::string_view Reply = "ok\r";
/// Ends the far end's thread.
constexpr char StopByte = '!';
constexpr DWORD LongestRead = 192;
constexpr DWORD OneMinute = 60'000;

int OpenRaw(const std::string& device) {
  const int nLine = open(device.c_str(), O_RDWR | O_NOCTTY);
  termios settings{};
  if (tcgetattr(nLine, &settings) != 0) throw std::runtime_error(device + " is not a serial line");
  cfmakeraw(&settings);
  tcsetattr(nLine, TCSANOW, &settings);
  return nLine;
}

/// The far end of a line: it answers each command at once, and sleeps in the kernel when there is none.
class Responder {
 public:
  Responder() : m_nMaster(posix_openpt(O_RDWR | O_NOCTTY)) {
    std::array<char, 64> name{};
    if (grantpt(m_nMaster) != 0 || unlockpt(m_nMaster) != 0 || ptsname_r(m_nMaster, name.data(), name.size()) != 0) {
      throw std::runtime_error("no pseudo-terminal can be had");
    }
    m_strDevice = name.data();
    m_nKeeper = OpenRaw(m_strDevice);
    m_thread = std::thread([this] { Serve(); });
  }
  ~Responder() {
    if (write(m_nKeeper, &StopByte, 1) == 1) m_thread.join();
    close(m_nKeeper);
    close(m_nMaster);
  }
  Responder(const Responder&) = delete;
  Responder& operator=(const Responder&) = delete;

  [[nodiscard]] const std::string& Device() const { return m_strDevice; }

 private:
  void Serve() const {
    std::array<char, LongestRead> block{};
    std::size_t nReceived = 0;
    for (;;) {
      const ssize_t nRead = read(m_nMaster, block.data(), block.size());
      if (nRead <= 0 || block[static_cast<std::size_t>(nRead) - 1] == StopByte) return;
      for (nReceived += static_cast<std::size_t>(nRead); nReceived >= Command.size(); nReceived -= Command.size()) {
        if (write(m_nMaster, Reply.data(), Reply.size()) < 0) return;
      }
    }
  }

  int m_nMaster;
  int m_nKeeper = -1;
  std::string m_strDevice;
  std::thread m_thread;
};

/// A POSIX board with three ports, each with a reader thread that works as the library's do.
class Bench {
 public:
  Bench() : m_folder(MakeFolder()), m_board(MakeFile()) {
    if (!m_board.Problem().empty()) throw std::runtime_error(m_board.Problem());
    SetBoard(&m_board);
    m_hData = CreateEventW(FALSE, FALSE, nullptr);
    for (const char16_t* name : {u"COM1:", u"COM2:", u"COM6:"}) StartReader(name);
  }
  ~Bench() {
    for (const HANDLE hPort : m_ports) CloseHandle(hPort);
    for (const HANDLE hThread : m_threads) {
      WaitForSingleObject(hThread, OneMinute);
      CloseHandle(hThread);
    }
    CloseHandle(m_hData);
    SetBoard(nullptr);
    std::filesystem::remove_all(m_folder);
  }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  /// A command out over "COM2:" and its reply back through the reader. False: it failed.
  bool Exchange() {
    m_nReceived = 0;
    DWORD dwWritten = 0;
    if (WriteFile(m_ports[1], Command.data(), static_cast<DWORD>(Command.size()), &dwWritten) == FALSE) return false;
    while (m_nReceived < Reply.size()) {
      if (WaitForSingleObject(m_hData, OneMinute) != WAIT_OBJECT_0) return false;
    }
    return true;
  }

 private:
  static std::filesystem::path MakeFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "photometer-bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder can be made");
    return name;
  }

  [[nodiscard]] BoardFile MakeFile() const {
    BoardFile file;
    file.root = m_folder;
    file.registryFile = m_folder / "registry.txt";
    file.ports = {{u"COM1:", m_responders[0].Device(), false},
                  {u"COM2:", m_responders[1].Device(), true},
                  {u"COM6:", m_responders[2].Device(), false}};
    return file;
  }

  void StartReader(const char16_t* name) {
    const HANDLE hPort = CreateFileW(name);
    constexpr DCB state{DCB_LENGTH, 115'200, 0, 8, NOPARITY, ONESTOPBIT};
    constexpr COMMTIMEOUTS timeouts{1, 1, 1, 1, 1};
    if (SetCommState(hPort, &state) == FALSE || SetCommTimeouts(hPort, &timeouts) == FALSE) {
      throw std::runtime_error("the line cannot be set up");
    }
    m_ports.push_back(hPort);
    m_threads.push_back(CreateThread([this, hPort] { Read(hPort); }, "Reader", nullptr));
  }

  void Read(HANDLE hPort) {
    std::array<char, LongestRead> buffer{};
    DWORD dwRead = 0;
    while (ReadFile(hPort, buffer.data(), LongestRead, &dwRead) != FALSE) {
      if (dwRead == 0) continue;
      m_nReceived += dwRead;
      SetEvent(m_hData);
    }
  }

  std::array<Responder, 3> m_responders;
  std::filesystem::path m_folder;
  PosixBoard m_board;
  HANDLE m_hData = 0;
  std::vector<HANDLE> m_ports;
  std::vector<HANDLE> m_threads;
  std::atomic<std::size_t> m_nReceived{0};
};

struct Usage {
  double wakeUps;
  double processorSeconds;
};

Usage CurrentUsage() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return {static_cast<double>(usage.ru_nvcsw), seconds(usage.ru_utime) + seconds(usage.ru_stime)};
}

void IdleBoardWithThreeReaders(benchmark::State& state) {
  constexpr double watched = 2;
  Bench bench;
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  for ([[maybe_unused]] const auto& iteration : state) {
    const Usage before = CurrentUsage();
    std::this_thread::sleep_for(std::chrono::duration<double>(watched));
    const Usage after = CurrentUsage();
    state.counters["wakeups_per_s"] = (after.wakeUps - before.wakeUps) / watched;
    state.counters["processor_%"] = 100 * (after.processorSeconds - before.processorSeconds) / watched;
  }
}
BENCHMARK(IdleBoardWithThreeReaders)->Iterations(1)->Unit(benchmark::kMillisecond);

/// Times each exchange by itself: the scheduler's outliers spoil a mean.
template <typename Exchange>
void MeasureRoundTrips(benchmark::State& state, Exchange exchange) {
  std::vector<double> microseconds;
  for ([[maybe_unused]] const auto& iteration : state) {
    const auto start = Clock::now();
    if (!exchange()) {
      state.SkipWithError("the exchange failed");
      break;
    }
    microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
  if (microseconds.empty()) return;
  std::ranges::sort(microseconds);
  state.counters["median_us"] = microseconds[microseconds.size() / 2];
  state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
}

void RoundTripThroughTheLayer(benchmark::State& state) {
  Bench bench;
  MeasureRoundTrips(state, [&bench] { return bench.Exchange(); });
}
BENCHMARK(RoundTripThroughTheLayer)->UseRealTime()->Unit(benchmark::kMicrosecond);

void RoundTripOfABareBlockingClient(benchmark::State& state) {
  const Responder responder;
  const int nLine = OpenRaw(responder.Device());
  MeasureRoundTrips(state, [nLine] {
    std::array<char, LongestRead> block{};
    if (write(nLine, Command.data(), Command.size()) < 0) return false;
    for (ssize_t nLeft = static_cast<ssize_t>(Reply.size()); nLeft > 0;) {
      const ssize_t nRead = read(nLine, block.data(), block.size());
      if (nRead <= 0) return false;
      nLeft -= nRead;
    }
    return true;
  });
  close(nLine);
}
BENCHMARK(RoundTripOfABareBlockingClient)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
