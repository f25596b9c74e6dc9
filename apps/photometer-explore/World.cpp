#include "World.h"

#include <algorithm>
#include <array>

#include "Faults.h"
#include "ProcedureRuns.h"
#include "platform/Platform.h"
#include "platform/Sanitizers.h"

namespace explorer {

using namespace photometer;  // NOLINT(google-build-using-namespace): the interface's own vocabulary
using photometer::platform::UnobservedScope;

namespace {

constexpr std::uint64_t MicrosecondsPerMillisecond = 1000;
/// Between two looks at something that has to end, ms.
constexpr DWORD LookPeriod = 5;
/// The same where looking takes long, ms.
constexpr DWORD LongLookPeriod = 1000;

constexpr std::array<double, 6> ZeroWavelengths{500, 700, 365, 436, 580, 850};
/// Shortest sound cycle of the instrument's keep-alives, µs.
constexpr simulator::Time KeepAlivePeriod = 1'000'000;

simulator::OpticalUnitSettings UnitSettings(const Profile& profile) {
  simulator::OpticalUnitSettings settings;
  settings.seed = profile.seed;
  settings.bUV = profile.bUV;
  settings.positionOffset = profile.iOffset;
  settings.noiseLevel = profile.bNoise ? 1.0 : 0.0;
  return settings;
}

simulator::SipperZQ410Settings ZQ410Settings() {
  simulator::SipperZQ410Settings settings;
  settings.keepAlivePeriod = KeepAlivePeriod;
  settings.flushTime = 2'000'000;
  settings.pumpTime = 1;
  return settings;
}

bool HostWritesHalfALine(const Plan& plan) {
  return std::ranges::any_of(plan.steps, [](const Step& step) {
    return step.operation.name == "write-optical" && !step.operation.bytes.ends_with('\r');
  });
}

platform::VirtualBoardOptions BoardOptions(const Profile& profile, const platform::VirtualBoardOptions& given) {
  platform::VirtualBoardOptions options = given;
  options.startTick = profile.dwStartTick;
  return options;
}

}  // namespace

World::World(const Plan& itsPlan, const WorldOptions& options)
    : plan(itsPlan),
      instrument(UnitSettings(itsPlan.profile), itsPlan.profile.dwBounce),
      zq410(ZQ410Settings()),
      board(BoardOptions(itsPlan.profile, options.board)),
      ledger(board),
      watched(board, ledger),
      m_pBefore(platform::SetBoard(&watched)) {
  if (options.bTrace) {
    platform::SetBoard(&m_tracing.emplace(watched, transcript));
  }
  watched.OnThreadEnd([this] {
    const UnobservedScope scope;
    return !instrument.unit.IsIdle() || instrument.unit.State().halogen != 0;
  });
  watched.OnCommand([this] {
    const UnobservedScope scope;
    return !instrument.unit.IsIdle() || instrument.unit.IsAnswering();
  });
  for (const char16_t* name : {OpticalPort, ExternalPort, SipperPort}) {
    Plug(name);
  }
  board.PlugPins(&instrument.holder);
  if (itsPlan.profile.iCuvette != 0) {
    instrument.holder.Insert(itsPlan.profile.iCuvette, 0);
  }
}

World::~World() { platform::SetBoard(m_pBefore); }

void World::Unplug(const std::u16string& name) {
  if (m_plugged.erase(name) != 0) {
    board.UnplugPort(name);
  }
}

void World::Plug(const std::u16string& name) {
  if (!m_plugged.insert(name).second) {
    return;
  }
  if (name == OpticalPort) {
    board.PlugPort(name, instrument.unit, true);
  } else if (name == ExternalPort && plan.profile.bZQ410) {
    board.PlugPort(name, zq410);
  } else if (name == SipperPort && plan.profile.bZQ420) {
    board.PlugPort(name, zq420);
  }
}

PhotometerParameters World::Parameters() const {
  const Profile& profile = plan.profile;
  const simulator::WavelengthPolynomial polynomial{};
  PhotometerParameters params{};
  params.dA = polynomial.cubic;
  params.dB = polynomial.quadratic;
  params.dC = polynomial.linear;
  params.dD = polynomial.constant;
  params.UpperFilterWL = 550;
  params.MiddleFilterWL = 450;
  params.LowerFilterWL = 375;
  params.HalogenMin = 330;
  params.HalogenMax = 1100;
  params.UVMin = 190;
  params.UVMax = 350;
  params.bUV = profile.bUV ? TRUE : FALSE;
  params.dwBaudRate = 19200;
  params.dwByteSize = 8;
  params.dwOperatingMode = profile.dwOperatingMode;
  params.PumpTime = profile.dwPumpTime;
  params.PumpParam2 = 1;
  params.DelayTime = profile.dwDelayTime;
  params.dwUVSessionTime = profile.dwUVSessionTime;
  params.dwWavelengthCheckInterval = profile.dwCheckInterval;
  return params;
}

CalibrationData World::Calibration() const {
  const std::size_t nZeros = std::min<std::size_t>(plan.profile.dwZeros, ZeroWavelengths.size());
  return {
      360.7, 340.0, 880, 340, {ZeroWavelengths.begin(), ZeroWavelengths.begin() + static_cast<std::ptrdiff_t>(nZeros)}};
}

// ---- faults ----

void World::StartFaults() {
  std::vector<Moment> moments;
  for (const Clause& fault : plan.faults) {
    const FaultTimes times = TimesOf(fault);
    moments.push_back({times.nBegin, &fault, true});
    if (times.nEnd) {
      moments.push_back({*times.nEnd, &fault, false});
    }
  }
  std::stable_sort(moments.begin(), moments.end(),
                   [](const Moment& one, const Moment& other) { return one.nTime < other.nTime; });
  // What is wrong from the start is wrong before anything else happens.
  auto next = moments.begin();
  for (; next != moments.end() && next->nTime == 0; ++next) {
    const UnobservedScope scope;
    BeginFault(*this, *next->pFault);
  }
  moments.erase(moments.begin(), next);
  if (!moments.empty()) {
    m_bFaultsEnded = false;
    platform::CloseHandle(platform::CreateThread([this, moments] { RunFaults(moments); }, "host world", nullptr));
  }
}

void World::RunFaults(const std::vector<Moment>& moments) {
  for (const Moment& moment : moments) {
    while (!m_bStopFaults && ledger.Now() < moment.nTime * MicrosecondsPerMillisecond) {
      const std::uint64_t nRest = moment.nTime - ledger.Now() / MicrosecondsPerMillisecond;
      platform::Sleep(static_cast<DWORD>(std::min<std::uint64_t>(nRest, 1000)));
    }
    if (m_bStopFaults) {
      break;
    }
    const UnobservedScope scope;
    moment.bBegins ? BeginFault(*this, *moment.pFault) : EndFault(*this, *moment.pFault);
  }
  m_bFaultsEnded = true;
}

void World::EndFaults() {
  m_bStopFaults = true;
  while (!m_bFaultsEnded) {
    platform::Sleep(LookPeriod);
  }
  const UnobservedScope scope;
  for (const Clause& fault : plan.faults) {
    EndFault(*this, fault);
  }
  watched.Failures().Clear();
}

bool World::IsLineSound() const {
  return !HostWritesHalfALine(plan) && std::ranges::none_of(plan.faults, [](const Clause& fault) {
    const auto what = static_cast<Failing>(fault.Count(1));
    return fault.name == "unit-answer" || fault.name == "unit-off" || fault.name == "unasked" ||
           fault.name == "flood" || fault.name == "unplug" || (fault.name == "fail" && what == Failing::Writes);
  });
}

bool World::IsSystemSound() const {
  return std::ranges::none_of(plan.faults, [](const Clause& fault) { return fault.name == "fail"; });
}

bool World::WasUnitLost() const {
  return HostWritesHalfALine(plan) || std::ranges::any_of(plan.faults, [](const Clause& fault) {
           return fault.name == "unit-off" || fault.name == "unplug";
         });
}

bool World::IsUnitKnown() const {
  const bool bHostSets = std::ranges::any_of(plan.steps, [](const Step& step) {
    return step.operation.name == "write-optical" && step.operation.bytes.find('$') != std::string::npos;
  });
  return !bHostSets && std::ranges::none_of(plan.faults, [](const Clause& fault) {
    const bool bSaysOk = fault.name == "unit-answer" && fault.bytes.find("ok") != std::string::npos;
    return bSaysOk || fault.name == "unasked" || fault.name == "flood";
  });
}

bool World::IsPumpSound() const {
  constexpr std::array<std::string_view, 5> Meddling{"operating-mode", "port-settings", "sipper-detected",
                                                     "open-sipper", "write-external"};
  const Profile& profile = plan.profile;
  const bool bThere =
      (profile.dwOperatingMode == 1 && profile.bZQ410) || (profile.dwOperatingMode == 2 && profile.bZQ420);
  return bThere && IsSystemSound() &&
         std::ranges::none_of(
             plan.steps,
             [&](const Step& step) { return std::ranges::find(Meddling, step.operation.name) != Meddling.end(); }) &&
         std::ranges::none_of(plan.faults, [](const Clause& fault) { return fault.name == "unplug"; });
}

bool World::ArePumpsLate() const {
  return std::ranges::any_of(
      plan.faults, [](const Clause& fault) { return fault.name == "zq410-answer" || fault.name == "zq420-answer"; });
}

bool World::WasLightSound() const {
  using simulator::FaultKind;
  constexpr std::array<FaultKind, 6> InTheirPlaces{FaultKind::Silence, FaultKind::SilentExecution,
                                                   FaultKind::Late,    FaultKind::Error,
                                                   FaultKind::Split,   FaultKind::LateTrailer};
  const bool bCuvette = std::ranges::any_of(plan.steps, [](const Step& step) {
    return step.operation.name == "insert-cuvette" && step.operation.Count(0) != 0;
  });
  return !bCuvette && plan.profile.iCuvette == 0 && std::ranges::none_of(plan.faults, [&](const Clause& fault) {
    const auto kind = static_cast<FaultKind>(fault.Count(1));
    const bool bMoved = fault.name == "unit-answer" && std::ranges::find(InTheirPlaces, kind) == InTheirPlaces.end();
    return bMoved || fault.name == "cuvette" || fault.name == "halogen" || fault.name == "pin";
  });
}

void World::Heal() {
  EndFaults();
  const UnobservedScope scope;
  instrument.RemoveCuvette(board.Now());
  // Answers that are still to come, by a fault or by a command that was given up, are not the next start's.
  instrument.unit.SwitchPower(board.Now(), false);
  instrument.unit.SwitchPower(board.Now(), true);
}

void World::WaitForPump(DWORD dwMilliseconds) const {
  const std::uint64_t nLimit = board.Now() + dwMilliseconds * MicrosecondsPerMillisecond;
  const auto isAsked = [this] {
    const UnobservedScope scope;
    return std::ranges::any_of(FindRuns(ledger).runs, [](const ProcedureRun& run) {
      return run.nEnd == ProcedureRun::npos && (run.name == "FlushProc" || run.name == "UpdatePumpParProc");
    });
  };
  while (board.Now() < nLimit && isAsked()) {
    platform::Sleep(LongLookPeriod);
  }
}

bool World::WaitForThreads(DWORD dwMilliseconds) const {
  const std::uint64_t nLimit = board.Now() + dwMilliseconds * MicrosecondsPerMillisecond;
  while (watched.RunningThreads() > 0) {
    if (board.Now() > nLimit) {
      return false;
    }
    platform::Sleep(LookPeriod);
  }
  return true;
}

}  // namespace explorer
