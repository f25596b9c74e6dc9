// When reads end and what they bring, in exact virtual time.
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OnVirtualBoard.h"

namespace virtualtest {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::Pair;

/// One character of ten bits takes 87 µs, rounded up; four take 348 µs.
constexpr DWORD BaudRate = 115200;
constexpr simulator::Time CharacterTime = 87;
constexpr COMMTIMEOUTS UsualTimeouts{1, 1, 1, 1, 1};

/// COM2: at 115200 baud, open.
struct Line : OnVirtualBoard {
  explicit Line(const VirtualBoardOptions& options = {}, bool bAtOnce = false,
                const COMMTIMEOUTS& timeouts = UsualTimeouts)
      : OnVirtualBoard(options) {
    board.PlugPort(u"COM2:", device, bAtOnce);
    hPort = CreateFileW(u"COM2:");
    DCB state{};
    GetCommState(hPort, &state);
    state.BaudRate = BaudRate;
    SetCommState(hPort, &state);
    SetCommTimeouts(hPort, &timeouts);
  }
  ~Line() { CloseHandle(hPort); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  /// The bytes, or "failed".
  std::string Read(DWORD dwBytes = 192) {
    std::string block(dwBytes, '\0');
    DWORD dwRead = 0;
    const BOOL bRead = ReadFile(hPort, block.data(), dwBytes, &dwRead);
    return bRead ? block.substr(0, dwRead) : "failed";
  }
  void Write(std::string_view bytes) {
    DWORD dwWritten = 0;
    EXPECT_TRUE(WriteFile(hPort, bytes.data(), static_cast<DWORD>(bytes.size()), &dwWritten));
    EXPECT_EQ(dwWritten, bytes.size());
  }

  ScriptedDevice device;
  HANDLE hPort = 0;
};

struct ReadCase {
  const char* name;
  COMMTIMEOUTS timeouts;
  bool bAtOnce;
  DWORD dwBytes;
  /// When the device says what; spaced by a character.
  std::vector<std::pair<simulator::Time, std::string>> script;
  std::string bytes;
  simulator::Time nEnd;
};

TEST(SerialReadTest, EndsByTheTimeouts) {
  const COMMTIMEOUTS usual = UsualTimeouts;
  const COMMTIMEOUTS interval20{20, 1, 1, 0, 0};
  const COMMTIMEOUTS noInterval{0, 0, 100, 0, 0};
  const COMMTIMEOUTS whatIsThere{INFINITE, 0, 0, 0, 0};
  const COMMTIMEOUTS firstByte{INFINITE, INFINITE, 500, 0, 0};
  const std::string fifo(30, 'x');
  const std::vector<ReadCase> cases = {
      {"nothing comes: 192 x 1 ms + 1 ms", usual, false, 192, {}, "", 193'000},
      {"interval after the last byte", usual, false, 192, {{50'000, "ok\r"}}, "ok\r", 50'000 + 2 * 87 + 1'000},
      {"at once: after four idle characters", usual, true, 192, {{50'000, "ok\r"}}, "ok\r", 50'000 + 2 * 87 + 348},
      {"full buffer", usual, false, 2, {{1'000, "ok\r"}}, "ok", 1'000 + 2 * 87 + 348},
      {"a pause below the interval joins", interval20, false, 192, {{1'000, "a"}, {15'000, "b"}}, "ab", 35'000},
      {"a pause above it parts", interval20, false, 192, {{1'000, "a"}, {30'000, "b"}}, "a", 21'000},
      {"no interval: the total ends it", noInterval, false, 192, {{1'000, "a"}, {90'000, "b"}}, "ab", 100'000},
      {"infinite interval: at once", whatIsThere, false, 192, {{1'000, "a"}}, "", 0},
      {"infinite interval with total: the first byte", firstByte, false, 192, {{1'000, "ab"}}, "ab", 1'000 + 87 + 348},
      {"the last block was in the FIFO in time", {0, 0, 0, 0, 0}, false, 30, {{0, fifo}}, fifo, 29 * 87 + 348},
  };
  for (const ReadCase& test : cases) {
    SCOPED_TRACE(test.name);
    Line line({}, test.bAtOnce, test.timeouts);
    for (const auto& [nAt, bytes] : test.script) {
      line.device.Say(nAt, bytes, CharacterTime);
    }
    EXPECT_EQ(line.Read(test.dwBytes), test.bytes);
    EXPECT_EQ(line.board.Now(), test.nEnd);
  }
}

TEST(SerialReadTest, RandomBlocksBringAllBytesInOrder) {
  std::string stream(8'000, '\0');
  std::iota(stream.begin(), stream.end(), '\0');
  std::set<std::size_t> ends;
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    Line line(Seeded(seed), seed % 2 == 0);
    line.device.Say(100, stream, CharacterTime);
    std::string received;
    while (received.size() < stream.size()) {
      received += line.Read();
      ends.insert(received.size());
    }
    EXPECT_EQ(received, stream) << "seed " << seed;
  }
  EXPECT_GT(ends.size(), 1'000U);
}

TEST(SerialWriteTest, BytesTakeTheirTimeAndArriveInOrderThoughThePortIsClosedThen) {
  Line line;
  line.Write("$a\r");
  line.Write("0123456789");
  CloseHandle(std::exchange(line.hPort, CreateEventW(FALSE, FALSE, nullptr)));
  Sleep(10);
  EXPECT_THAT(line.device.heard, ElementsAre(Pair(261, "$a\r"), Pair(261 + 869, "0123456789")));
}

TEST(SerialWriteTest, PurgeCutsOffWhatHasNotLeft) {
  Line line;
  line.Write(std::string(100, 'x'));
  line.Write("behind");
  Sleep(1);
  PurgeComm(line.hPort, PURGE_TXCLEAR);
  line.Write("next");
  Sleep(20);
  EXPECT_THAT(line.device.heard, ElementsAre(Pair(_, std::string(12, 'x')), Pair(_, "next")));
}

TEST(SerialPortTest, AClosedPortLosesWhatTheDeviceSays) {
  Line line;
  CloseHandle(line.hPort);
  line.device.Say(1'000, "lost");
  Sleep(5);
  line.hPort = CreateFileW(u"COM2:");
  SetCommTimeouts(line.hPort, &UsualTimeouts);
  EXPECT_EQ(line.Read(1), "");
}

TEST(SerialPortTest, AFullQueueLosesTheOldestBytesAndCountsThem) {
  constexpr std::size_t QueueBytes = 1024UL * 1024;
  Line line;
  line.device.Say(1'000, std::string(1'000, 'o'));
  line.device.Say(2'000, std::string(QueueBytes, 'n'));
  Sleep(10);
  EXPECT_EQ(line.board.DroppedBytes(u"COM2:"), 1'000U);
  EXPECT_EQ(line.Read(2 * QueueBytes), std::string(QueueBytes, 'n'));
}

/// Has always something to say, at this very moment.
struct Chatterbox final : simulator::SerialDevice {
  void Receive(simulator::Time /*now*/, std::string_view /*bytes*/) override {}
  [[nodiscard]] simulator::Time NextActivity() const override { return 0; }
  std::string TakeOutput(simulator::Time /*now*/) override {
    ++nAsked;
    return "x";
  }
  int nAsked = 0;
};

TEST(SerialPortTest, ADeviceThatNeverStopsTalkingIsHeardOnceACharacter) {
  Line line;
  Chatterbox chatterbox;
  line.board.PlugPort(u"COM2:", chatterbox);
  Sleep(1'000);
  EXPECT_GT(chatterbox.nAsked, 11'000);
  EXPECT_LT(chatterbox.nAsked, 12'000);
  EXPECT_EQ(line.board.Now(), 1'000'000U);
}

}  // namespace
}  // namespace virtualtest
