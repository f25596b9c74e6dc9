/// The virtual board with a far end that the test speaks for, under both scheduling policies.
#include <array>
#include <utility>

#include "BoardContract.h"
#include "platform/virtual/VirtualBoard.h"

namespace contract {
namespace {

/// Says what the test tells it to, and remembers what it hears.
class ScriptedDevice final : public simulator::SerialDevice, public SerialPeer {
 public:
  ScriptedDevice(VirtualBoard& board, std::u16string name, bool bAtOnce) : m_board(board), m_strName(std::move(name)) {
    m_board.PlugPort(m_strName, *this, bAtOnce);
  }

  void Receive(simulator::Time /*now*/, std::string_view bytes) override { m_strHeard += bytes; }
  [[nodiscard]] simulator::Time NextActivity() const override {
    return m_strToSay.empty() ? simulator::Never : m_nSayAt;
  }
  std::string TakeOutput(simulator::Time /*now*/) override { return std::exchange(m_strToSay, {}); }

  void Send(std::string_view bytes) override {
    if (m_strToSay.empty()) m_nSayAt = m_board.Now();
    m_strToSay += bytes;
  }
  std::string Receive(std::size_t nBytes) override {
    constexpr int nPatience = 10'000;  // ms
    for (int nWaited = 0; m_strHeard.size() < nBytes && nWaited < nPatience; ++nWaited) Sleep(1);
    return std::exchange(m_strHeard, {});
  }
  void HangUp() override { m_board.UnplugPort(m_strName); }

 private:
  VirtualBoard& m_board;
  std::u16string m_strName;
  std::string m_strToSay;
  simulator::Time m_nSayAt = 0;
  std::string m_strHeard;
};

class Switches final : public simulator::PinSource {
 public:
  std::uint32_t ReadPin(simulator::Time /*now*/, std::uint32_t pin) override {
    return pin >= FirstPin && pin < FirstPin + m_levels.size() ? m_levels[pin - FirstPin] : ~0U;
  }
  void Set(std::uint32_t pin, std::uint32_t level) { m_levels.at(pin - FirstPin) = level; }

 private:
  static constexpr std::uint32_t FirstPin = 10;
  std::array<std::uint32_t, 3> m_levels{};
};

class VirtualWorld final : public BoardUnderTest {
 public:
  VirtualWorld(DWORD dwStartTick, Policy policy) : m_board(Options(dwStartTick, policy)) {
    m_board.RemoveFolder(u"\\SDMemory");
    m_board.RemoveFolder(u"\\NANDFlash");
    m_board.MakeFolder(u"\\NANDFlash");
    m_board.PlugPins(&m_switches);
    m_board.SetRegistryValue(u"\\Veltranometrik", u"HalLamp", 5);
  }

  Board& GetBoard() override { return m_board; }
  SerialPeer& Peer() override { return m_peer; }
  SerialPeer& AtOncePeer() override { return m_atOncePeer; }
  void SetPin(DWORD dwPin, DWORD dwLevel) override { m_switches.Set(dwPin, dwLevel); }
  void SetDiskFull(const std::u16string& folder, bool bFull) override { m_board.SetDiskFull(folder, bFull); }
  std::string DebugText() override { return ToUtf8(m_board.DebugText()); }

 private:
  static VirtualBoardOptions Options(DWORD dwStartTick, Policy policy) {
    VirtualBoardOptions options;
    options.startTick = dwStartTick;
    options.policy = policy;
    return options;
  }

  Switches m_switches;
  VirtualBoard m_board;
  ScriptedDevice m_peer{m_board, u"COM2:", false};
  ScriptedDevice m_atOncePeer{m_board, u"COM1:", true};
};

template <Policy policy>
std::unique_ptr<BoardUnderTest> Make(DWORD dwStartTick) {
  return std::make_unique<VirtualWorld>(dwStartTick, policy);
}

const AddBoard inOrder({"VirtualFirstCome", Make<Policy::FirstCome>});
const AddBoard atRandom({"VirtualRandom", Make<Policy::Random>});

}  // namespace
}  // namespace contract
