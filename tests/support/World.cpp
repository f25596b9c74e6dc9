#include "support/World.h"

#include <gtest/gtest.h>

#include "device/Photometer.h"
#include "logging/LogFiles.h"
#include "platform/Platform.h"

namespace photometer::tests {

namespace {

/// Between two looks at the device, and the longest that any run takes, ms.
constexpr DWORD LOOK_PERIOD = 50;
constexpr DWORD LONGEST_RUN = 7'200'000;

/// The longest wait for threads, ms.
constexpr DWORD THREADS_END_LIMIT = 3000;

/// A device log of a test is never longer, bytes.
constexpr std::size_t LOG_LIMIT = std::size_t{16} * 1024 * 1024;

constexpr const char* LINE_END = "\\x0D";

std::string Joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) {
    joined += text + "\n";
  }
  return joined;
}

}  // namespace

World::World(const WorldOptions& options)
    : m_pDevice(options.pDevice != nullptr ? options.pDevice : &unit),
      unit(options.unit),
      holder({options.unit.seed, options.unit.bUV, 0}),
      board(options.board),
      kernel(board.GetKernel()),
      ports(board.GetSerialPorts()),
      pins(board.GetPins()),
      faulty(board),
      tracing((faulty.Replace(kernel), faulty.Replace(ports), faulty.Replace(pins), faulty), transcript),
      sink(board, transcript),
      m_bAtOnce(options.bAtOnce),
      m_pBefore(platform::SetBoard(&tracing)) {
  Plug();
  board.PlugPins(&holder);
}

World::~World() { platform::SetBoard(m_pBefore); }

void World::Plug() { board.PlugPort(PORT, *m_pDevice, m_bAtOnce); }

void World::StopTracing() { platform::SetBoard(&faulty); }

std::vector<std::string> World::Written() const {
  std::vector<std::string> commands;
  for (const std::string& block : transcript.Texts("COM2>")) {
    std::size_t nStart = 0;
    for (std::size_t nEnd = 0; (nEnd = block.find(LINE_END, nStart)) != std::string::npos; nStart = nEnd + 4) {
      commands.push_back(block.substr(nStart, nEnd - nStart));
    }
  }
  return commands;
}

std::size_t World::LogLines(const std::string& text) {
  const std::string log = board.GetFiles().Read(DeviceLogPath, LOG_LIMIT).value_or("");
  std::size_t nLines = 0;
  for (std::size_t n = log.find(text); n != std::string::npos; n = log.find(text, n + text.size())) {
    ++nLines;
  }
  return nLines;
}

std::vector<std::string> World::Faults() const {
  std::vector<std::string> faults = board.Reports();
  const std::vector<std::string> more = sink.Faults();
  faults.insert(faults.end(), more.begin(), more.end());
  return faults;
}

bool World::WaitForThreads() const {
  for (DWORD dwWaited = 0; kernel.Running() > 0; ++dwWaited) {
    if (dwWaited == THREADS_END_LIMIT) {
      return false;
    }
    platform::Sleep(1);
  }
  return true;
}

void World::ExpectClean() const {
  EXPECT_TRUE(WaitForThreads());
  EXPECT_EQ(Joined(Faults()), "");
  EXPECT_EQ(Joined(board.Leftovers()), "");
}

void World::ExpectSwitchedOff() {
  for (DWORD dwWaited = 0; dwWaited == 0 || (!unit.IsIdle() && dwWaited < LONGEST_RUN); dwWaited += LOOK_PERIOD) {
    platform::Sleep(LOOK_PERIOD);
  }
  const simulator::OpticalUnitState state = unit.State();
  EXPECT_EQ(state.halogen, 0);
  EXPECT_FALSE(state.bDeuterium);
  EXPECT_EQ(state.fan, 0);
  EXPECT_EQ(state.mirror, 0);
}

Device::Device(World& world) : m_World(world), m_pPhotometer(new Photometer) {
  m_pPhotometer->AddRef();
  m_pPhotometer->SetSink(&world.sink);
}

Device::~Device() { Close(); }

HRESULT Device::Initialize() {
  const PhotometerParameters params = DefaultParameters();
  const CalibrationData calibration = DefaultCalibration();
  return m_pPhotometer->Initialize(&params, &calibration);
}

bool Device::StartUp() {
  return Initialize() == S_OK && WaitUntilNotBusy() && m_pPhotometer->GetStatus().bInitialized != 0;
}

bool Device::WaitUntilNotBusy() const {
  for (DWORD dwWaited = 0; dwWaited < LONGEST_RUN; dwWaited += LOOK_PERIOD) {
    if (m_pPhotometer->GetStatus().bBusy == 0) {
      return true;
    }
    platform::Sleep(LOOK_PERIOD);
  }
  return false;
}

void Device::Close() {
  if (m_pPhotometer == nullptr) {
    return;
  }
  m_World.sink.ForbidCallbacks();
  m_pPhotometer->Shutdown();
  m_pPhotometer->Release();
  m_pPhotometer = nullptr;
  // A callback that is held up has the right to end; the world must not vanish under it.
  m_World.sink.AllowCallbacks();
}

}  // namespace photometer::tests
