#include "Host.h"

#include <algorithm>
#include <cmath>

#include "Operations.h"
#include "platform/Platform.h"
#include "platform/Sanitizers.h"

namespace explorer {

using namespace photometer;  // NOLINT(google-build-using-namespace): the interface's own vocabulary
using photometer::platform::UnobservedScope;

namespace {

constexpr std::uint64_t MicrosecondsPerSecond = 1'000'000;
/// Between two looks at the device, ms.
constexpr DWORD LookPeriod = 50;
/// The longest that a run takes that nobody cancels: silence, warm-up and pump times together, ms.
constexpr DWORD LongestRun = 1'800'000;
/// After the programme the host grants what runs so much before it cancels it, ms.
constexpr DWORD Patience = 20'000;
/// What `Shutdown` may take, µs.
constexpr std::uint64_t ShutdownLimit = 3 * MicrosecondsPerSecond;
/// For threads that a callback has held up, ms.
constexpr DWORD ThreadsEndLimit = 20'000;

/// For cuvettes and keys to come to rest, ms.
constexpr DWORD SettlingTime = 1000;
/// The answer that a fault holds up longest is there by then, ms.
constexpr DWORD LatestAnswer = 70'000;
constexpr double AgainWavelength = 500.0;
/// Of either pump for a second, ms.
constexpr DWORD LongestFlush = 10'000;

constexpr double GlassAbsorbance = 0.5;
/// Ten times what the noise makes of it.
constexpr double AbsorbanceTolerance = 0.01;

}  // namespace

Host::Host(World& world)
    : m_world(world),
      m_sink(world.ledger, world.board.GetKernel(), world.plan.profile.dwWarmUpTime),
      m_files(world.ledger) {
  for (const Step& step : world.plan.steps) {
    if (step.actor == Actor::Callback) {
      m_callbackSteps.emplace(step.nWhen, &step.operation);
    }
  }
  m_sink.OnCallback([this](std::uint64_t nNumber) { RunCallback(nNumber); });
}

Host::~Host() {
  while (m_iActors > 0) {
    platform::Sleep(LookPeriod);
  }
}

void Host::CreateDevice() {
  m_world.ledger.AllowCallbacks();
  IPhotometer* pDevice = CreatePhotometer();
  if (pDevice != nullptr) {
    pDevice->SetSink(&m_sink);
  }
  m_pDevice = pDevice;
}

// ---- the programme ----

void Host::RunProgramme() {
  CreateDevice();
  m_world.StartFaults();
  PlacePoints();
  for (const auto& [actor, name] : {std::pair(Actor::Second, "host second"), std::pair(Actor::Third, "host third")}) {
    const bool bActs = std::ranges::any_of(m_world.plan.steps, [a = actor](const Step& s) { return s.actor == a; });
    if (bActs) {
      ++m_iActors;
      const platform::HANDLE hThread = platform::CreateThread(
          [this, actor = actor] {
            RunSteps(actor);
            --m_iActors;
          },
          name, nullptr);
      platform::CloseHandle(hThread);
    }
  }
  RunSteps(Actor::Host);
  m_bProgrammeEnded = true;
  while (m_iActors > 0) {
    platform::Sleep(LookPeriod);
  }
}

void Host::RunSteps(Actor actor) {
  for (const Step& step : m_world.plan.steps) {
    if (step.actor == actor) {
      if (step.nWhen > 0) {
        platform::Sleep(static_cast<DWORD>(step.nWhen));
      }
      Perform(step.operation, false);
    }
  }
}

void Host::PlacePoints() {
  for (const Step& step : m_world.plan.steps) {
    if (step.actor == Actor::Point) {
      m_world.board.RunAtPoint(step.nWhen, "host at a point", [this, &step] {
        ++m_iActors;
        if (!m_bProgrammeEnded) {
          Perform(step.operation, false);
        }
        --m_iActors;
      });
    }
  }
}

void Host::RunCallback(std::uint64_t nNumber) {
  const auto [first, last] = m_callbackSteps.equal_range(nNumber);
  if (first == last || m_bProgrammeEnded) {
    return;
  }
  m_dwCallbackThread = platform::GetCurrentThreadId();
  for (auto step = first; step != last; ++step) {
    Perform(*step->second, true);
  }
  m_dwCallbackThread = 0;
}

bool Host::IsInsideCallback() const { return m_dwCallbackThread == platform::GetCurrentThreadId(); }

void Host::Perform(const Clause& clause, bool bInCallback) {
  const Operation* pOperation = FindOperation(clause.name);
  IPhotometer* pDevice = m_pDevice;
  if (pOperation == nullptr || pDevice == nullptr) {
    return;
  }
  // A thread that sleeps or waits is not inside the device.
  ++m_iInside;
  const std::int64_t nCall = m_world.ledger.BeginCall(clause.name, bInCallback);
  const std::int64_t nResult = pOperation->perform(*this, *pDevice, clause);
  m_world.ledger.EndCall(nCall, clause.name, nResult);
  --m_iInside;
  if (!IsAllowed(pOperation->answers, nResult)) {
    m_world.ledger.NoteViolation("answers", clause.name + " answers " + std::to_string(nResult));
  }
}

// ---- operations ----

std::int64_t Host::AddAndRelease(IPhotometer& device) {
  device.AddRef();
  return device.Release();
}

std::int64_t Host::SetSink(IPhotometer& device, bool bSet) {
  device.SetSink(bSet ? &m_sink : nullptr);
  return 0;
}

std::int64_t Host::Initialize(IPhotometer& device, std::uint32_t dwVariant) {
  const PhotometerParameters params = m_world.Parameters();
  const CalibrationData calibration = m_world.Calibration();
  const auto start = [&] {
    return device.Initialize(dwVariant == 0 ? nullptr : &params, dwVariant == 1 ? nullptr : &calibration);
  };
  if (IsInsideCallback()) {
    return start();
  }
  m_world.ledger.AllowCallbacks();
  ++m_iStarts;
  const HRESULT result = start();
  if (result == S_OK || result == E_FAIL) {
    m_bHalfUp = result == E_FAIL;
    m_bDown = false;
  }
  if (--m_iStarts == 0 && m_bDown) {
    m_world.ledger.ForbidCallbacks();  // it was refused, and the device is as it was
  }
  return result;
}

std::int64_t Host::Shutdown(IPhotometer& device) {
  if (IsInsideCallback()) {
    return device.Shutdown();
  }
  const std::uint64_t nStart = m_world.board.Now();
  ++m_iShutdowns;
  m_world.ledger.ForbidCallbacks();
  m_bDown = true;
  const HRESULT result = device.Shutdown();
  if (--m_iShutdowns == 0 && m_iStarts > 0) {
    m_world.ledger.AllowCallbacks();  // a start that waited for its turn behind this call brings the device up now
  }
  const std::uint64_t nTook = m_world.board.Now() - nStart;
  if (nTook > ShutdownLimit) {
    m_world.ledger.NoteViolation("Shutdown within 3 s", "Shutdown took " + std::to_string(nTook / 1000) + " ms");
  }
  return result;
}

std::int64_t Host::Release() {
  IPhotometer* const pDevice = m_pDevice.exchange(nullptr);
  if (pDevice == nullptr) {
    return 0;
  }
  while (m_iInside > 1) {
    platform::Sleep(1);
  }
  const std::uint64_t nStart = m_world.board.Now();
  m_world.ledger.ForbidCallbacks();
  const std::int64_t nResult = pDevice->Release();
  if (m_world.board.Now() - nStart > ShutdownLimit) {
    m_world.ledger.NoteViolation("Shutdown within 3 s", "the last Release took longer than 3 s");
  }
  if (nResult != 0) {
    m_world.ledger.NoteViolation("references", "the last Release answers " + std::to_string(nResult));
  }
  return nResult;
}

std::int64_t Host::Sleep(DWORD dwMilliseconds) {
  --m_iInside;
  platform::Sleep(dwMilliseconds);
  ++m_iInside;
  return 0;
}

std::int64_t Host::WaitIdle(DWORD dwMilliseconds) {
  // Inside a callback nothing of what it waits for could go on.
  if (IsInsideCallback()) {
    return 0;
  }
  --m_iInside;
  const std::uint64_t nLimit = m_world.board.Now() + std::uint64_t{dwMilliseconds} * 1000;
  bool bIdle = false;
  for (;;) {
    ++m_iInside;
    IPhotometer* const pDevice = m_pDevice;
    bIdle = pDevice == nullptr || pDevice->GetStatus().bBusy == 0;
    --m_iInside;
    if (bIdle || m_world.board.Now() >= nLimit) {
      break;
    }
    platform::Sleep(LookPeriod);
  }
  ++m_iInside;
  return bIdle ? 1 : 0;
}

std::int64_t Host::InsertCuvette(int iSize) {
  const UnobservedScope scope;
  m_world.instrument.holder.Insert(iSize, m_world.board.Now());
  return 0;
}

std::int64_t Host::MarkWindow(bool bBegins) {
  bBegins ? m_world.board.BeginWindow() : m_world.board.EndWindow();
  return 0;
}

// ---- the end ----

bool Host::BecomeIdle() {
  if (WaitIdle(Patience) != 0) {
    return true;
  }
  InsertCuvette(0);
  Perform({"cancel", {}, {}}, false);
  Perform({"cancel-flush", {}, {}}, false);
  return !m_bHalfUp && WaitIdle(LongestRun) != 0;
}

void Host::Close() {
  // An `Initialize` that failed may leave the device busy until the next one, or `Shutdown`.
  if (!BecomeIdle() && !m_bHalfUp) {
    m_world.ledger.NoteViolation("never stuck", "still busy half an hour after the last operation");
  }
  if (const IPhotometer* pDevice = m_pDevice; pDevice != nullptr) {
    Perform({"shutdown", {}, {}}, false);
    Perform({"release", {}, {}}, false);
  }
  if (!m_world.WaitForThreads(ThreadsEndLimit)) {
    m_world.ledger.NoteViolation("never stuck", "a thread of the library runs on after the last Release");
  }
}

// ---- recovery ----

void Host::Recover() {
  m_callbackSteps.clear();
  m_world.Heal();
  platform::Sleep(SettlingTime);
  CreateDevice();
  if (m_pDevice == nullptr) {
    FailRecovery("the device object cannot be made");
    return;
  }
  m_files.CheckSettings();
  if (StartUp()) {
    MeasureGlass();
    CompareSettings();
  }
  Close();
}

void Host::FailRecovery(const std::string& text) { m_world.ledger.NoteViolation("recovery", text); }

bool Host::StartUp() {
  IPhotometer& device = *m_pDevice;
  const std::int64_t nResult = Initialize(device, 2);
  if (nResult != S_OK) {
    FailRecovery("Initialize answers " + std::to_string(nResult) + " with everything in order");
    return false;
  }
  WaitIdle(LongestRun);
  if (!device.GetStatus().bInitialized) {
    FailRecovery("the start-up fails with everything in order");
    return false;
  }
  return true;
}

void Host::PutIntoBeam(const simulator::Sample& sample) {
  const UnobservedScope scope;
  m_world.instrument.unit.SetSample(sample, m_world.board.Now());
}

MeasureValues Host::Measure(std::string_view property, const std::vector<double>& wavelengths) {
  MeasureRequest request{};
  request.m_dwRequestId = NextRequestId();
  request.m_dLampSwitchingPoint = 340.0;
  request.m_dwReadings = 1;
  request.m_Wavelengths = wavelengths;
  request.m_Tags.assign(wavelengths.size(), 1);
  const std::size_t nBefore = m_world.ledger.Values().size();
  IPhotometer& device = *m_pDevice;
  if (const HRESULT result = device.StartMeasure(&request); result != S_OK) {
    m_world.ledger.NoteViolation(property, "a measurement is refused with everything in order");
    return {};
  }
  WaitIdle(LongestRun);
  const MeasureValues& all = m_world.ledger.Values();
  if (all.size() != nBefore + wavelengths.size()) {
    m_world.ledger.NoteViolation(property, "a measurement delivers " + std::to_string(all.size() - nBefore) + " of " +
                                               std::to_string(wavelengths.size()) + " values with everything in order");
    return {};
  }
  return {all.begin() + static_cast<std::ptrdiff_t>(nBefore), all.end()};
}

void Host::CheckGlass(std::string_view property, const MeasureValues& values, const std::vector<double>& blanks) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    const MeasureValue& value = values[i];
    const double dAbsorbance = -std::log10(value.dValue / value.dValueRef / blanks[i]);
    const double dExpected = m_world.instrument.unit.ApparentAbsorbance(value.dWavelength, m_world.board.Now());
    if (!(std::fabs(dAbsorbance - dExpected) < AbsorbanceTolerance)) {
      m_world.ledger.NoteViolation(property, "a glass of " + std::to_string(dExpected) + " is measured as " +
                                                 std::to_string(dAbsorbance) + " at " +
                                                 std::to_string(value.dWavelength) + " nm");
    }
  }
}

void Host::MeasureGlass() {
  std::vector<double> wavelengths;
  std::vector<double> blanks;
  for (const WavelengthCalibrationEntry& zero : m_sink.References()) {
    wavelengths.push_back(zero.dWavelength);
    blanks.push_back(zero.dValue / zero.dValueRef);
  }
  PutIntoBeam(simulator::Sample::NeutralGlass(GlassAbsorbance));
  CheckGlass("recovery", Measure("recovery", wavelengths), blanks);
}

simulator::OpticalUnitState Host::UnitState() const {
  const UnobservedScope scope;
  return m_world.instrument.unit.State();
}

void Host::CompareSettings() {
  if (!m_setAgain || !m_world.IsUnitKnown() || Measure("recovery", {AgainWavelength}).empty()) {
    return;
  }
  const simulator::OpticalUnitState set = UnitState();
  const auto compare = [this](const char* what, int iAgain, int iFresh) {
    if (iAgain != iFresh) {
      m_world.ledger.NoteViolation("right settings", std::string("a measurement was taken at ") + what + " " +
                                                         std::to_string(iAgain) + " in place of " +
                                                         std::to_string(iFresh));
    }
  };
  compare("filter", m_setAgain->filter, set.filter);
  compare("gain", m_setAgain->bHighGain, set.bHighGain);
  compare("measurement length", m_setAgain->measurementLength, set.measurementLength);
  if (m_world.WasLightSound()) {
    compare("position", m_setAgain->position, set.position);
  }
}

// ---- the next start ----

void Host::CheckLamp() {
  IPhotometer* const pDevice = m_pDevice;
  const bool bKnown = m_world.IsLineSound() && m_world.IsSystemSound() && m_world.IsUnitKnown();
  if (pDevice == nullptr || !bKnown || pDevice->GetStatus().bBusy || !pDevice->GetStatus().bInitialized) {
    return;
  }
  const LONG lTold = pDevice->GetUVLampState();
  platform::Sleep(SettlingTime);
  // The timer may have switched it off meanwhile.
  if (lTold >= 0 && pDevice->GetUVLampState() == lTold && UnitState().bDeuterium != (lTold == 1)) {
    m_world.ledger.NoteViolation("lamp as told", "the device says that the deuterium lamp is " +
                                                     std::string(lTold == 1 ? "on" : "off") + ", and it is not");
  }
}

void Host::FlushAgain(IPhotometer& device) {
  if (!m_world.IsPumpSound()) {
    return;
  }
  m_world.WaitForPump(LongestRun);
  device.SendSipperPing();
  platform::Sleep(SettlingTime);
  const std::size_t nBefore = m_world.ledger.Called("OnFlushCompleted");
  Perform({"flush", {1}, {}}, false);
  platform::Sleep(LongestFlush);
  if (m_world.ledger.Called("OnFlushCompleted") == nBefore) {
    m_world.ledger.NoteViolation("next start", "a flush does not complete with the pump in order");
  }
}

void Host::StartAgain() {
  constexpr std::string_view Property = "next start";
  m_world.EndFaults();
  InsertCuvette(0);
  platform::Sleep(m_world.IsLineSound() && !m_world.ArePumpsLate() ? SettlingTime : LatestAnswer);
  IPhotometer* const pDevice = m_pDevice;
  if (pDevice == nullptr || m_world.WasUnitLost() || !BecomeIdle() || !pDevice->GetStatus().bInitialized) {
    return;
  }
  Perform({"set-sink", {1}, {}}, false);
  FlushAgain(*pDevice);
  std::vector<double> blanks;
  for (const MeasureValue& value : Measure(Property, {AgainWavelength})) {
    blanks.push_back(value.dValue / value.dValueRef);
  }
  if (!blanks.empty()) {
    m_setAgain = UnitState();
    PutIntoBeam(simulator::Sample::NeutralGlass(GlassAbsorbance));
    CheckGlass(Property, Measure(Property, {AgainWavelength}), blanks);
    PutIntoBeam(simulator::Sample::Blank());
  }
}

}  // namespace explorer
