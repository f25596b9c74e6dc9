/// The POSIX board on pseudo-terminals, below a temporary folder.
#include <sys/resource.h>

#include <csignal>

#include "BoardContract.h"
#include "PseudoTerminal.h"
#include "platform/Forwarding.h"
#include "platform/posix/PosixBoard.h"
#include "platform/posix/PosixKernel.h"
#include "support/TemporaryFolder.h"

namespace contract {
namespace {

/// The board with a kernel whose tick counter starts where the test likes.
class BoardWithTicks final : public ForwardingBoard {
 public:
  BoardWithTicks(Board& target, DWORD dwOffset) : ForwardingBoard(target), m_kernel(dwOffset) {}
  Kernel& GetKernel() override { return m_kernel; }

 private:
  PosixKernel m_kernel;
};

class PosixWorld final : public BoardUnderTest {
 public:
  explicit PosixWorld(DWORD dwStartTick)
      : m_board(MakeFile()), m_ticks(m_board, dwStartTick - PosixKernel().GetTickCount()) {
    EXPECT_EQ(m_board.Problem(), "");
  }

  Board& GetBoard() override { return m_ticks; }
  SerialPeer& Peer() override { return m_peer; }
  SerialPeer& AtOncePeer() override { return m_atOncePeer; }
  void SetPin(DWORD dwPin, DWORD dwLevel) override {
    m_folder.Write("pins/pin" + std::to_string(dwPin), std::to_string(dwLevel) + "\n");
  }
  /// No file of this process may grow: a write ends as on a full disk.
  void SetDiskFull(const std::u16string& /*folder*/, bool bFull) override {
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    rlimit limit{};
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    limit.rlim_cur = bFull ? 0 : limit.rlim_max;
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  std::string DebugText() override { return m_folder.Read("debug.txt"); }

 private:
  [[nodiscard]] BoardFile MakeFile() {
    m_folder.MakeFolder("root/NANDFlash");
    for (const DWORD dwPin : {10U, 11U, 12U}) SetPin(dwPin, 0);
    m_folder.Write("registry.txt", "[\\Veltranometrik]\nHalLamp=5\n");
    BoardFile file;
    file.root = m_folder.At("root");
    file.program = u"\\Application\\test";
    file.ports = {{u"COM2:", m_peer.Device(), false}, {u"COM1:", m_atOncePeer.Device(), true}};
    file.pinsFolder = m_folder.At("pins");
    file.registryFile = m_folder.At("registry.txt");
    file.debugTarget = DebugTarget::File;
    file.debugFile = m_folder.At("debug.txt");
    return file;
  }

  PseudoTerminal m_peer;
  PseudoTerminal m_atOncePeer;
  tests::TemporaryFolder m_folder;
  PosixBoard m_board;
  BoardWithTicks m_ticks;
};

std::unique_ptr<BoardUnderTest> Make(DWORD dwStartTick) { return std::make_unique<PosixWorld>(dwStartTick); }

const AddBoard posixBoard({"Posix", Make});

}  // namespace
}  // namespace contract
