#include "Operations.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

#include "Host.h"

namespace explorer {

using namespace photometer;  // NOLINT(google-build-using-namespace): the interface's own vocabulary

namespace {

constexpr double Nan = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

constexpr std::array<double, 8> VisibleWavelengths{340, 374.9, 400, 450, 500, 555.5, 700, 1100};
constexpr std::array<double, 3> UVWavelengths{190, 220, 330};
constexpr std::array<double, 6> WrongNumbers{Nan, Infinity, -1.0, 0.0, 1e300, 1101.0};
constexpr std::array<double, 4> HolmiumPeaks{360.7, 418.5, 445.7, 536.4};

/// One request in so many has a wrong number in it; a wavelength in so many needs the deuterium lamp.
constexpr std::uint64_t WrongOneIn = 12;
constexpr std::uint64_t UVOneIn = 15;

double Wavelength(Draw& draw, const Profile& profile) {
  if (draw.OneIn(WrongOneIn * 3)) {
    return draw.Pick(WrongNumbers);
  }
  return profile.bUV && draw.OneIn(UVOneIn) ? draw.Pick(UVWavelengths) : draw.Pick(VisibleWavelengths);
}

double SwitchingPoint(Draw& draw) { return draw.OneIn(WrongOneIn) ? draw.Pick(WrongNumbers) : 340.0; }

double Flag(Draw& draw) { return draw.OneIn(2) ? 1.0 : 0.0; }

void DrawNothing(Draw& /*draw*/, const Profile& /*profile*/, Clause* /*pClause*/) {}

template <std::int64_t First, std::int64_t Last>
void DrawOne(Draw& draw, const Profile& /*profile*/, Clause* pClause) {
  pClause->numbers = {static_cast<double>(draw.Between(First, Last))};
}

/// Switching point, readings, turbidity, cuvette size, program, defaults, tags too many, wavelengths.
void DrawMeasure(Draw& draw, const Profile& profile, Clause* pClause) {
  pClause->numbers = {SwitchingPoint(draw),
                      static_cast<double>(draw.OneIn(WrongOneIn) ? 0 : 1 + draw.Below(2)),
                      draw.OneIn(6) ? 1.0 : 0.0,
                      Flag(draw),
                      static_cast<double>(draw.Below(2)),
                      Flag(draw),
                      draw.OneIn(WrongOneIn * 2) ? 1.0 : 0.0};
  for (std::uint64_t n = draw.OneIn(20) ? 0 : 1 + draw.Below(2); n > 0; --n) {
    pClause->numbers.push_back(Wavelength(draw, profile));
  }
}

std::int64_t PerformMeasure(Host& host, IPhotometer& device, const Clause& clause) {
  MeasureRequest request{};
  request.m_dwRequestId = host.NextRequestId();
  request.m_dLampSwitchingPoint = clause.At(0);
  request.m_dwReadings = clause.Whole(1);
  request.m_bTurbidity = clause.Is(2) ? TRUE : FALSE;
  request.m_bCuvetteSize = clause.Is(3) ? TRUE : FALSE;
  request.m_dwPumpProgram = clause.Whole(4);
  request.m_bPumpDefaults = clause.Is(5) ? TRUE : FALSE;
  for (std::size_t i = 7; i < clause.numbers.size(); ++i) {
    request.m_Wavelengths.push_back(clause.numbers[i]);
  }
  request.m_Tags.resize(request.m_Wavelengths.size() + clause.Whole(6));
  std::iota(request.m_Tags.begin(), request.m_Tags.end(), DWORD{1});
  return device.StartMeasure(&request);
}

/// Start, end, switching point, lamp mode, coarse, turbidity.
void DrawScan(Draw& draw, const Profile& profile, Clause* pClause) {
  const double dStart = Wavelength(draw, profile);
  const double dLength = draw.OneIn(WrongOneIn) ? -5.0 : 0.2 + static_cast<double>(draw.Length(60));
  pClause->numbers = {dStart,
                      std::min(dStart + dLength, 1100.0),
                      SwitchingPoint(draw),
                      static_cast<double>(draw.OneIn(10) ? draw.Below(4) : 0),
                      Flag(draw),
                      draw.OneIn(8) ? 1.0 : 0.0};
}

std::int64_t PerformScan(Host& host, IPhotometer& device, const Clause& clause) {
  const ScanRequest request{host.NextRequestId(),
                            clause.At(0),
                            clause.At(1),
                            clause.At(2),
                            clause.Whole(3),
                            clause.Is(4) ? TRUE : FALSE,
                            clause.Is(5) ? TRUE : FALSE};
  return device.StartScan(&request);
}

/// First and last position.
void DrawHolmium(Draw& draw, const Profile& /*profile*/, Clause* pClause) {
  const std::int64_t iFirst = draw.OneIn(WrongOneIn) ? draw.Between(-2000, 16000) : draw.Between(5000, 9000);
  pClause->numbers = {static_cast<double>(iFirst), static_cast<double>(iFirst + draw.Between(0, 60))};
}

std::int64_t PerformHolmium(Host& host, IPhotometer& device, const Clause& clause) {
  const HolmiumOxideScanRequest request{host.NextRequestId(), static_cast<LONG>(clause.Whole(0)),
                                        static_cast<LONG>(clause.Whole(1))};
  return device.StartHolmiumOxideScan(&request);
}

/// Duration (min), interval (s), wavelength, switching point.
void DrawKinetics(Draw& draw, const Profile& profile, Clause* pClause) {
  pClause->numbers = {draw.OneIn(4) ? 1.0 : 0.0, static_cast<double>(draw.Below(4) * 5), Wavelength(draw, profile),
                      SwitchingPoint(draw)};
}

std::int64_t PerformKinetics(Host& host, IPhotometer& device, const Clause& clause) {
  const KineticsRequest request{host.NextRequestId(), clause.Whole(0), clause.Whole(1), clause.At(2), clause.At(3)};
  return device.StartKinetics(&request);
}

std::int64_t PerformTurbidity(Host& host, IPhotometer& device, const Clause& /*clause*/) {
  const TurbidityRequest request{host.NextRequestId(), 1, 2};
  return device.StartTurbidityMeasurement(&request);
}

void DrawCheck(Draw& draw, const Profile& /*profile*/, Clause* pClause) {
  for (std::uint64_t n = draw.Below(3); n > 0; --n) {
    pClause->numbers.push_back(draw.OneIn(WrongOneIn) ? draw.Pick(WrongNumbers) : draw.Pick(HolmiumPeaks));
  }
}

std::int64_t PerformCheck(Host& host, IPhotometer& device, const Clause& clause) {
  const WavelengthCheckRequest request{host.NextRequestId(), clause.numbers};
  return device.StartWavelengthCheck(&request);
}

void DrawSystemCheck(Draw& draw, const Profile& /*profile*/, Clause* pClause) {
  pClause->numbers = {draw.OneIn(WrongOneIn) ? draw.Pick(WrongNumbers) : HolmiumPeaks[0]};
}

std::int64_t PerformSystemCheck(Host& host, IPhotometer& device, const Clause& clause) {
  const SystemCheckRequest request{host.NextRequestId(), clause.At(0), 0.0};
  return device.StartSystemCheck(&request);
}

std::int64_t PerformNullRequests(Host& /*host*/, IPhotometer& device, const Clause& /*clause*/) {
  const std::array<HRESULT, 9> results{device.StartMeasure(nullptr),
                                       device.StartScan(nullptr),
                                       device.StartHolmiumOxideScan(nullptr),
                                       device.StartKinetics(nullptr),
                                       device.StartTurbidityMeasurement(nullptr),
                                       device.StartWavelengthCheck(nullptr),
                                       device.StartSystemCheck(nullptr),
                                       device.WriteOpticalPort(nullptr, 1),
                                       device.SetWavelengthCalibrations(nullptr)};
  const auto wrong = std::find_if(results.begin(), results.end(), [](HRESULT r) { return r != E_POINTER; });
  return wrong == results.end() ? E_POINTER : *wrong;
}

/// On, session.
void DrawUVLamp(Draw& draw, const Profile& /*profile*/, Clause* pClause) {
  pClause->numbers = {Flag(draw), draw.OneIn(6) ? 0.0 : 1.0};
}

std::int64_t PerformUVLamp(Host& /*host*/, IPhotometer& device, const Clause& clause) {
  const LONG lResult = device.SetUVLamp(clause.Is(0) ? TRUE : FALSE, clause.Whole(1));
  return clause.Is(0) ? lResult : E_FAIL;  // 0 stands for a started thread; a switch-off starts none
}

void DrawPort(Draw& draw, const Profile& /*profile*/, Clause* pClause) {
  constexpr std::array<double, 4> Rates{9600, 19200, 115200, 0};
  pClause->numbers = {draw.Pick(Rates), static_cast<double>(draw.Between(7, 9)), static_cast<double>(draw.Below(4))};
}

/// Pump time, second parameter, delay.
void DrawPumpParameters(Draw& draw, const Profile& /*profile*/, Clause* pClause) {
  pClause->numbers = {static_cast<double>(draw.OneIn(WrongOneIn) ? 1000 : draw.Below(4)),
                      static_cast<double>(draw.Below(3)), static_cast<double>(draw.Below(3))};
}

void DrawOpticalBytes(Draw& draw, const Profile& /*profile*/, Clause* pClause) {
  constexpr std::array<const char*, 4> Texts{"$v\r", "$ \r", "$q9\r", "\r"};
  pClause->bytes = draw.OneIn(3) ? draw.Bytes(16) + (draw.OneIn(2) ? "\r" : "") : Texts[draw.Below(Texts.size())];
}

void DrawBytes(Draw& draw, const Profile& /*profile*/, Clause* pClause) { pClause->bytes = draw.Bytes(40); }

std::int64_t WriteBytes(HRESULT (IPhotometer::*pWrite)(const BYTE*, DWORD), IPhotometer& device, const Clause& clause) {
  return (device.*pWrite)(reinterpret_cast<const BYTE*>(clause.bytes.data()), static_cast<DWORD>(clause.bytes.size()));
}

std::int64_t PerformCalibrations(Host& /*host*/, IPhotometer& device, const Clause& clause) {
  std::vector<WavelengthCalibrationEntry> entries(clause.Whole(0));
  for (WavelengthCalibrationEntry& entry : entries) {
    entry.dWavelength = 500.0;
  }
  return device.SetWavelengthCalibrations(&entries);
}

std::int64_t PerformGetCalibration(Host& /*host*/, IPhotometer& device, const Clause& /*clause*/) {
  WavelengthCalibrationEntry entry{};
  return device.GetWavelengthCalibration(500.0, &entry);
}

/// An operation that answers nothing and takes no arguments, one value, or three.
template <void (IPhotometer::*Operation)()>
std::int64_t Do(Host& /*host*/, IPhotometer& device, const Clause& /*clause*/) {
  (device.*Operation)();
  return 0;
}
template <auto Operation>
std::int64_t Set(Host& /*host*/, IPhotometer& device, const Clause& clause) {
  (device.*Operation)(static_cast<LONG>(clause.Whole(0)));
  return 0;
}
template <auto Operation>
std::int64_t Ask(Host& /*host*/, IPhotometer& device, const Clause& /*clause*/) {
  return (device.*Operation)();
}
template <HRESULT (IPhotometer::*Operation)(DWORD)>
std::int64_t Give(Host& /*host*/, IPhotometer& device, const Clause& clause) {
  return (device.*Operation)(clause.Whole(0));
}

// clang-format off
const std::array<Operation, 50> Table{{
    {"add-and-release", 2, "", Answers::Nothing, DrawNothing,
     [](Host& host, IPhotometer& device, const Clause&) -> std::int64_t { return host.AddAndRelease(device); }},
    {"status", 4, "", Answers::Nothing, DrawNothing,
     [](Host&, IPhotometer& device, const Clause&) -> std::int64_t { return device.GetStatus().bBusy; }},
    {"pump-info", 3, "", Answers::Nothing, DrawNothing,
     [](Host&, IPhotometer& device, const Clause&) -> std::int64_t { return device.GetPumpInfo().m_iOperatingMode; }},
    {"uv-state", 2, "", Answers::Nothing, DrawNothing, Ask<&IPhotometer::GetUVLampState>},
    {"cuvette-size", 2, "", Answers::Nothing, DrawNothing, Ask<&IPhotometer::GetCuvetteSize>},
    {"set-cuvette-size", 1, "", Answers::Nothing, DrawOne<0, 50>, Set<&IPhotometer::SetCuvetteSize>},
    {"uv-lamp", 3, "WarmUpProc", Answers::Nothing, DrawUVLamp, PerformUVLamp},
    {"set-sink", 1, "", Answers::Nothing, DrawOne<0, 3>,
     [](Host& host, IPhotometer& device, const Clause& clause) { return host.SetSink(device, clause.Is(0)); }},
    {"initialize", 3, "InitProc", Answers::Lifecycle, DrawOne<0, 9>,
     [](Host& host, IPhotometer& device, const Clause& clause) { return host.Initialize(device, clause.Whole(0)); }},
    {"shutdown", 2, "", Answers::OkOrFail, DrawNothing,
     [](Host& host, IPhotometer& device, const Clause&) { return host.Shutdown(device); }},
    {"release", 1, "", Answers::Nothing, DrawNothing,
     [](Host& host, IPhotometer&, const Clause&) { return host.Release(); }},
    {"port-settings", 2, "", Answers::Ok, DrawPort,
     [](Host&, IPhotometer& device, const Clause& clause) -> std::int64_t {
       return device.SetExternalPortSettings(clause.Whole(0), clause.Whole(1), clause.Whole(2));
     }},
    {"reset-port-settings", 2, "", Answers::Ok, DrawNothing, Ask<&IPhotometer::ResetExternalPortSettings>},
    {"pump-parameters", 2, "", Answers::Nothing, DrawPumpParameters,
     [](Host&, IPhotometer& device, const Clause& clause) -> std::int64_t {
       device.SetPumpParameters(clause.Whole(0), clause.Whole(1), clause.Whole(2));
       return 0;
     }},
    {"sipper-detected", 2, "", Answers::Nothing, DrawOne<0, 1>, Set<&IPhotometer::SetSipperDetected>},
    {"pump-disabled", 2, "", Answers::Nothing, DrawOne<0, 1>, Set<&IPhotometer::SetPumpDisabled>},
    {"operating-mode", 2, "", Answers::Nothing, DrawOne<0, 3>, Set<&IPhotometer::SetOperatingMode>},
    {"ping", 2, "", Answers::Nothing, DrawNothing, Do<&IPhotometer::SendSipperPing>},
    {"run-time", 1, "", Answers::Nothing, DrawNothing, Do<&IPhotometer::RequestSipperRunTime>},
    {"sipper-data", 1, "", Answers::Nothing, DrawNothing, Do<&IPhotometer::RequestSipperData>},
    {"flush", 4, "FlushProc", Answers::OkOrFail, DrawOne<0, 4>, Give<&IPhotometer::StartFlush>},
    {"cancel-flush", 3, "", Answers::Ok, DrawNothing, Ask<&IPhotometer::CancelFlush>},
    {"reset-pump-cycle", 1, "", Answers::Nothing, DrawNothing, Do<&IPhotometer::ResetPumpCycleFlag>},
    {"uv-session-time", 2, "", Answers::Ok, DrawOne<0, 20>, Give<&IPhotometer::SetUVSessionTime>},
    {"cuvette-state", 2, "", Answers::Nothing, DrawNothing, Ask<&IPhotometer::GetCuvetteState>},
    {"cancel", 12, "", Answers::OkOrFail, DrawNothing, Ask<&IPhotometer::CancelMeasurement>},
    {"get-calibration", 2, "", Answers::OkOrFail, DrawNothing, PerformGetCalibration},
    {"set-calibrations", 2, "", Answers::OkOrFail, DrawOne<0, 4>, PerformCalibrations},
    {"write-optical", 3, "", Answers::OkOrFail, DrawOpticalBytes,
     [](Host&, IPhotometer& device, const Clause& clause) {
       return WriteBytes(&IPhotometer::WriteOpticalPort, device, clause);
     }},
    {"write-external", 3, "", Answers::OkOrFail, DrawBytes,
     [](Host&, IPhotometer& device, const Clause& clause) {
       return WriteBytes(&IPhotometer::WriteExternalPort, device, clause);
     }},
    {"measure", 14, "Measure", Answers::Start, DrawMeasure, PerformMeasure},
    {"scan", 14, "ScanProc", Answers::ScanStart, DrawScan, PerformScan},
    {"holmium", 6, "HolmiumOxideScan", Answers::Start, DrawHolmium, PerformHolmium},
    {"kinetics", 10, "Kinetics", Answers::Start, DrawKinetics, PerformKinetics},
    {"turbidity", 8, "MeasureTurbidityProc", Answers::Start, DrawNothing, PerformTurbidity},
    {"check", 5, "WavelengthCheckProc", Answers::Start, DrawCheck, PerformCheck},
    {"system-check", 3, "SystemCheckProc", Answers::Start, DrawSystemCheck, PerformSystemCheck},
    {"update-pump", 3, "UpdatePumpParProc", Answers::OkOrFail, DrawPumpParameters,
     [](Host&, IPhotometer& device, const Clause& clause) -> std::int64_t {
       return device.UpdatePumpParameters(clause.Whole(0), clause.Whole(1));
     }},
    {"check-interval", 1, "", Answers::Ok, DrawOne<0, 2>, Give<&IPhotometer::SetWavelengthCheckInterval>},
    {"wavelength-test", 3, "WaveLengthTestProc", Answers::OkOrFail, DrawNothing, Ask<&IPhotometer::StartWaveLengthTest>},
    {"reset-activity", 1, "", Answers::Ok, DrawNothing, Ask<&IPhotometer::ResetActivityTime>},
    {"open-sipper", 3, "", Answers::ZeroOrOne, DrawNothing, Ask<&IPhotometer::OpenSipperPort>},
    {"null-requests", 1, "", Answers::Pointer, DrawNothing, PerformNullRequests},
    // ---- the host's own ----
    {"sleep", 4, "", Answers::Nothing, [](Draw& draw, const Profile&, Clause* p) {
       p->numbers = {static_cast<double>(draw.Length(3000))};
     },
     [](Host& host, IPhotometer&, const Clause& clause) { return host.Sleep(clause.Whole(0)); }},
    {"wait-idle", 20, "", Answers::Nothing, [](Draw& draw, const Profile&, Clause* p) {
       p->numbers = {static_cast<double>(draw.Length(60'000))};
     },
     [](Host& host, IPhotometer&, const Clause& clause) { return host.WaitIdle(clause.Whole(0)); }},
    {"insert-cuvette", 4, "", Answers::Nothing, [](Draw& draw, const Profile&, Clause* p) {
       constexpr std::array<double, 7> Sizes{0, 0, 10, 14, 20, 50, -1};
       p->numbers = {draw.Pick(Sizes)};
     },
     [](Host& host, IPhotometer&, const Clause& clause) { return host.InsertCuvette(static_cast<int>(clause.At(0))); }},
    {"log-files", 1, "", Answers::Nothing, DrawNothing,
     [](Host& host, IPhotometer&, const Clause&) -> std::int64_t { return host.Files().KeepLogs(), 0; }},
    {"settings", 1, "", Answers::Nothing, DrawNothing,
     [](Host& host, IPhotometer&, const Clause&) -> std::int64_t { return host.Files().KeepSettings(), 0; }},
    {"begin-window", 0, "", Answers::Nothing, DrawNothing,
     [](Host& host, IPhotometer&, const Clause&) { return host.MarkWindow(true); }},
    {"end-window", 0, "", Answers::Nothing, DrawNothing,
     [](Host& host, IPhotometer&, const Clause&) { return host.MarkWindow(false); }},
}};
// clang-format on

}  // namespace

std::span<const Operation> Operations() { return Table; }

const Operation* FindOperation(std::string_view name) {
  const auto found = std::find_if(Table.begin(), Table.end(), [name](const Operation& o) { return o.name == name; });
  return found == Table.end() ? nullptr : &*found;
}

Clause DrawOperation(Draw& draw, Draw& requests, const Profile& profile) {
  const auto add = [](unsigned n, const Operation& operation) { return n + operation.nWeight; };
  std::uint64_t nDrawn = draw.Below(std::accumulate(Table.begin(), Table.end(), 0U, add));
  const Operation* pOperation = Table.data();
  for (; nDrawn >= pOperation->nWeight; ++pOperation) {
    nDrawn -= pOperation->nWeight;
  }
  Clause clause{std::string(pOperation->name), {}, {}};
  pOperation->draw(requests, profile, &clause);
  return clause;
}

bool IsAllowed(Answers answers, std::int64_t nResult) {
  switch (answers) {
    case Answers::Nothing:
      return true;
    case Answers::Ok:
      return nResult == S_OK;
    case Answers::OkOrFail:
      return nResult == S_OK || nResult == E_FAIL;
    case Answers::Start:
      return nResult == S_OK || nResult == E_FAIL || nResult == E_INVALIDARG;
    case Answers::ScanStart:
      return nResult == S_OK || nResult == E_FAIL || nResult == E_INVALIDARG || nResult == E_ACCESSDENIED;
    case Answers::Lifecycle:
      return nResult == S_OK || nResult == E_FAIL || nResult == E_ACCESSDENIED || nResult == E_POINTER;
    case Answers::Pointer:
      return nResult == E_POINTER;
    case Answers::ZeroOrOne:
      return nResult == 0 || nResult == 1;
  }
  return false;
}

}  // namespace explorer
