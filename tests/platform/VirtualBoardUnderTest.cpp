/// The virtual board with a far end that the test speaks for, under two scheduling policies.
#include <array>
#include <utility>

#include "BoardContract.h"
#include "platform/virtual/VirtualBoard.h"
#include "support/ScriptedDevice.h"

namespace contract {
namespace {

class ScriptedPeer final : public SerialPeer {
 public:
  ScriptedPeer(VirtualBoard& board, std::u16string name, bool bAtOnce) : m_board(board), m_strName(std::move(name)) {
    m_board.PlugPort(m_strName, m_device, bAtOnce);
  }

  void Send(std::string_view bytes) override { m_device.Say(m_board.Now(), bytes); }
  std::string Receive(std::size_t nBytes) override {
    constexpr int nPatience = 10'000;  // ms
    std::string received;
    for (int nWaited = 0; nWaited < nPatience; ++nWaited) {
      for (const auto& [nTime, bytes] : std::exchange(m_device.heard, {})) received += bytes;
      if (received.size() >= nBytes) break;
      Sleep(1);
    }
    return received;
  }
  void HangUp() override { m_board.UnplugPort(m_strName); }

 private:
  VirtualBoard& m_board;
  std::u16string m_strName;
  tests::ScriptedDevice m_device;
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
  ScriptedPeer m_peer{m_board, u"COM2:", false};
  ScriptedPeer m_atOncePeer{m_board, u"COM1:", true};
};

template <Policy policy>
std::unique_ptr<BoardUnderTest> Make(DWORD dwStartTick) {
  return std::make_unique<VirtualWorld>(dwStartTick, policy);
}

const AddBoard inOrder({"VirtualFirstCome", Make<Policy::FirstCome>});
const AddBoard atRandom({"VirtualRandom", Make<Policy::Random>});

}  // namespace
}  // namespace contract
