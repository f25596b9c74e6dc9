#include "simulator/OpticalUnit.h"

#include <algorithm>
#include <array>

#include "simulator/WireNumber.h"

namespace simulator {

/// One command of the set: its letter, its argument's range (none when `bArgument` is false), how long the unit is busy
/// with it apart from motion (µs), and what it changes; null for those that send data.
struct OpticalUnit::Rule {
  char letter;
  bool bArgument;
  int first;
  int last;
  Time time;
  void (*apply)(OpticalUnit& unit, Time at, int iArgument);
};

namespace {

constexpr std::string_view Ok = "ok\r\n";
constexpr std::string_view Error = "error\r\n";
/// Behind the last point of a stream; hosts count these bytes and do not look at them.
constexpr std::string_view Trailer = "ok\r";

constexpr Time AnswerTime = 300;  // µs, the controller's own for each command
constexpr Time MirrorTime = 200'000;
constexpr Time IgnitionTime = 2'500'000;
constexpr Time StreamRamp = 10'000;
constexpr Time TurbidityTime = 80'000;
constexpr std::uint64_t BytesOfAReading = 6;

/// Independent random streams for the channels, also between neighbouring seeds.
std::uint64_t StreamSeed(std::uint64_t seed, std::uint64_t nStream) { return Mix(Mix(seed) + nStream); }

constexpr double SampleDark = 1200.0;
constexpr double ReferenceDark = 1400.0;

}  // namespace

const OpticalUnit::Rule* OpticalUnit::FindRule(char letter) {
  using Unit = OpticalUnit;
  constexpr int Low = Monochromator::FirstPosition;
  constexpr int High = Monochromator::LastPosition;
  static constexpr std::array<Rule, 20> Rules = {{
      {'F', true, 0, 7, 1'000, [](Unit& unit, Time, int iArgument) { unit.m_LightPath.SetFilter(iArgument); }},
      {'o', true, 0, 1, 50'000, [](Unit& unit, Time, int iArgument) { unit.m_bOptoPower = iArgument != 0; }},
      {'H', true, 0, 1, 20'000, [](Unit& unit, Time, int iArgument) { unit.m_LightPath.SetShutter(iArgument != 0); }},
      {'g', true, 0, 1, 2'000, [](Unit& unit, Time, int iArgument) { unit.m_bHighGain = iArgument != 0; }},
      {'i', true, 1, 20, 0, [](Unit& unit, Time, int iArgument) { unit.m_iMeasurementLength = iArgument; }},
      {'r', true, 0, 2, 1'000, [](Unit& unit, Time, int iArgument) { unit.m_LightPath.SetMirror(iArgument); }},
      {'h', true, 0, 2, 1'000,
       [](Unit& unit, Time at, int iArgument) { unit.m_LightPath.SwitchHalogen(at, iArgument); }},
      {'d', true, 0, 1, 1'000,
       [](Unit& unit, Time at, int iArgument) { unit.m_LightPath.SwitchDeuterium(at, iArgument != 0); }},
      {'z', false, 0, 0, 0, [](Unit& unit, Time at, int) { unit.GoHome(at); }},
      {'A', true, 0, 9, 0, [](Unit& unit, Time, int iArgument) { unit.m_iADSpeed = iArgument; }},
      {'S', true, 1, 65535, 0, [](Unit& unit, Time, int iArgument) { unit.m_Monochromator.SetSpeed(iArgument); }},
      {'M', true, Low, High, 0, [](Unit& unit, Time, int iArgument) { unit.MoveTo(iArgument); }},
      {' ', false, 0, 0, 1'000, [](Unit& unit, Time, int) { unit.m_bMotorReleased = true; }},
      {'f', true, 0, 10, 1'000, [](Unit& unit, Time, int iArgument) { unit.m_iFan = iArgument; }},
      {'T', true, 1, 3, 5'000, [](Unit& unit, Time, int iArgument) { unit.m_Turbidity.SetPower(iArgument); }},
      {'G', true, 0, 1, 5'000, [](Unit& unit, Time, int iArgument) { unit.m_Turbidity.SetHighGain(iArgument != 0); }},
      {'v', false, 0, 0, 2'000, nullptr},
      {'a', true, 1, 9, 0, nullptr},
      {'t', false, 0, 0, TurbidityTime, nullptr},
      {'s', true, Low, High + 1, 0, nullptr},
  }};
  for (const Rule& rule : Rules) {
    if (rule.letter == letter) return &rule;
  }
  return nullptr;
}

OpticalUnit::OpticalUnit(OpticalUnitSettings settings)
    : m_Settings(std::move(settings)),
      m_bPowered(m_Settings.bPowered),
      m_LightPath(m_Settings),
      m_Monochromator(m_Settings.polynomial, m_Settings.positionOffset + m_Settings.faults.slippedSteps),
      m_SampleDetector(StreamSeed(m_Settings.seed, 1), SampleDark),
      m_ReferenceDetector(StreamSeed(m_Settings.seed, 2), ReferenceDark),
      m_Turbidity(StreamSeed(m_Settings.seed, 3)) {}

// ---- the line ----

void OpticalUnit::Receive(Time now, std::string_view bytes) {
  if (!m_bPowered) return;
  Advance(now);
  for (Command& command : m_Parser.Take(bytes)) Accept(now, std::move(command));
}

void OpticalUnit::Accept(Time now, Command command) {
  m_Received.push_back({now, command.strText});
  AnswerShaper shaper(m_WireFaults.Take(command.letter));
  if (const Fault* pStale = shaper.Find(FaultKind::StaleBefore)) m_Scheduled.emplace(now, pStale->bytes);
  if (command.letter != 0 && m_Action && m_Action->bStream) m_Action.reset();
  if (!shaper.Has(FaultKind::Silence) && !shaper.Has(FaultKind::Error)) SwitchOffAtOnce(now, command);
  m_Queue.push_back({std::move(command), std::move(shaper)});
  Advance(now);
}

void OpticalUnit::SwitchOffAtOnce(Time now, const Command& command) {
  constexpr std::string_view Letters = "rdhf";
  const bool bSwitchOff = command.bValid && command.argument == 0 && Letters.find(command.letter) != Letters.npos;
  if (bSwitchOff) FindRule(command.letter)->apply(*this, now, 0);
}

Time OpticalUnit::NextEvent() const {
  Time next = m_Scheduled.empty() ? Never : m_Scheduled.begin()->first;
  if (m_Action) next = std::min(next, m_Action->due);
  return next;
}

Time OpticalUnit::NextActivity() const { return std::min({NextEvent(), m_Pacer.NextByte(), m_Flood.NextByte()}); }

void OpticalUnit::Advance(Time now) {
  if (!m_Action) StartNext(now);
  for (Time next = NextEvent(); next <= now; next = NextEvent()) {
    SendPending(next);
    if (!m_Action || m_Action->due > next) continue;
    if (m_Action->bStream) {
      StreamPoint(next);
    } else {
      Complete(next);
    }
    if (!m_Action) StartNext(next);
  }
}

void OpticalUnit::SendPending(Time now) {
  while (!m_Scheduled.empty() && m_Scheduled.begin()->first <= now) {
    m_Pacer.Send(m_Scheduled.begin()->first, m_Scheduled.begin()->second);
    m_Scheduled.erase(m_Scheduled.begin());
  }
}

std::string OpticalUnit::TakeOutput(Time now) {
  Advance(now);
  std::string strOutput = m_Pacer.Take(now);
  strOutput += m_Flood.Take(now);
  return strOutput;
}

void OpticalUnit::Send(Time at, AnswerShaper& shaper, std::string_view bytes) {
  if (shaper.IsClean()) {
    m_Pacer.Send(at, bytes);
    return;
  }
  Schedule(at, shaper.Shape(bytes));
}

void OpticalUnit::Schedule(Time at, const std::vector<AnswerShaper::Piece>& pieces) {
  for (const AnswerShaper::Piece& piece : pieces) m_Scheduled.emplace(at + piece.delay, piece.strBytes);
}

void OpticalUnit::EmitUnasked(std::string bytes, Time at) { m_Scheduled.emplace(at, std::move(bytes)); }

// ---- one command after another ----

bool OpticalUnit::Accepts(const Command& command) const {
  if (!command.bValid) return false;
  const Rule* pRule = FindRule(command.letter);
  if (pRule == nullptr || command.argument.has_value() != pRule->bArgument) return false;
  const int iArgument = command.argument.value_or(pRule->first);
  if (iArgument < pRule->first || iArgument > pRule->last) return false;
  const bool bNeedsUV = (command.letter == 'r' || command.letter == 'd') && iArgument != 0;
  if (bNeedsUV && !m_Settings.bUV) return false;
  return command.letter != 's' || iArgument > m_Monochromator.Position();
}

void OpticalUnit::StartNext(Time at) {
  while (!m_Action && !m_Queue.empty()) {
    Action action;
    action.work = std::move(m_Queue.front());
    m_Queue.pop_front();
    const AnswerShaper& shaper = action.work.shaper;
    if (shaper.Has(FaultKind::Silence)) continue;
    const bool bError = shaper.Has(FaultKind::Error) || !Accepts(action.work.command);
    if (bError) action.work.command.bValid = false;
    action.due = at + AnswerTime + DurationOf(action.work.command) + shaper.Delay(FaultKind::Late);
    m_Action = std::move(action);
    if (!bError && m_Action->work.command.letter == 's') StartStream(m_Action->due);
  }
}

Time OpticalUnit::DurationOf(const Command& command) const {
  if (!command.bValid) return 0;
  return FindRule(command.letter)->time + MotionTime(command.letter, command.argument.value_or(0));
}

Time OpticalUnit::MotionTime(char letter, int iArgument) const {
  switch (letter) {
    case 'F':
      return m_LightPath.Filters().TurnTime(iArgument);
    case 'r':
      return iArgument == m_LightPath.Mirror() ? 0 : MirrorTime;
    case 'd':
      return iArgument == 1 && !m_LightPath.Deuterium().IsOn() ? IgnitionTime : 0;
    case 'z':
      return m_Monochromator.HomeTime();
    case 'M':
      return m_Monochromator.MoveTime(iArgument);
    case 'a':
      return static_cast<Time>(iArgument) * ConversionTime();
    default:
      return 0;
  }
}

void OpticalUnit::Complete(Time at) {
  // The action ends before its effect, so that what follows finds the unit idle.
  Action action = *std::exchange(m_Action, std::nullopt);
  Send(at, action.work.shaper, Execute(at, action.work.command));
  Schedule(at, action.work.shaper.Finish());
  SendPending(at);
}

std::string OpticalUnit::Execute(Time at, const Command& command) {
  if (!command.bValid) return std::string(Error);
  const Rule* pRule = FindRule(command.letter);
  if (pRule->apply == nullptr) return ReadData(at, command);
  pRule->apply(*this, at, command.argument.value_or(0));
  return std::string(Ok);
}

void OpticalUnit::MoveTo(int iPosition) {
  m_bMotorReleased = false;
  m_Monochromator.PlaceAt(iPosition);
}

void OpticalUnit::GoHome(Time at) {
  MoveTo(0);
  m_LightPath.SwitchHalogen(at, 0);
  m_LightPath.SetMirror(LightPath::Parked);
}

// ---- data ----

Time OpticalUnit::ConversionTime() const {
  constexpr Time Unit = 50;  // µs; 5 ms at the slowest setting 9
  const auto nSlowness = static_cast<Time>(m_iADSpeed) + 1;
  return Unit * nSlowness * nSlowness;
}

Time OpticalUnit::PointTime() const {
  const Time motion = static_cast<Time>(m_iMeasurementLength) * m_Monochromator.StepTime();
  return std::max({motion, ConversionTime(), m_Pacer.Duration(BytesOfAReading)});
}

const Sample& OpticalUnit::SampleAt(Time at) {
  while (!m_Samples.empty() && m_Samples.front().first <= at) {
    m_Sample = std::move(m_Samples.front().second);
    m_Samples.pop_front();
  }
  return m_Sample;
}

void OpticalUnit::AppendReading(std::string& bytes, Time at) {
  if (!m_bOptoPower) {
    bytes.append(BytesOfAReading, '\0');
    return;
  }
  const Light light = m_LightPath.At(at, m_Monochromator.Wavelength(), SampleAt(at));
  const double noise = m_Settings.noiseLevel * m_Settings.faults.detectorNoise;
  Append24Bits(bytes, m_SampleDetector.Read(light.sample, HighGain(), noise));
  Append24Bits(bytes, m_ReferenceDetector.Read(light.reference, HighGain(), noise));
}

std::string OpticalUnit::ReadData(Time at, const Command& command) {
  if (command.letter == 'v') return m_Settings.firmware + " " + std::string(Ok);
  if (command.letter == 't') return m_Turbidity.Measure(SampleAt(at).Turbidity(), m_Settings.noiseLevel);
  std::string strReadings;
  const int nReadings = command.argument.value_or(0);
  for (int i = 1; i <= nReadings; ++i) {
    AppendReading(strReadings, at - static_cast<Time>(nReadings - i) * ConversionTime());
  }
  return strReadings;
}

void OpticalUnit::StartStream(Time at) {
  const AnswerShaper& shaper = m_Action->work.shaper;
  const int iEnd = m_Action->work.command.argument.value_or(0);
  m_Action->bStream = true;
  m_Action->iStreamEnd = iEnd;
  m_Action->nPointsLeft = static_cast<std::uint64_t>((iEnd - m_Monochromator.Position()) / m_iMeasurementLength);
  if (const Fault* pStop = shaper.Find(FaultKind::StopAfter)) {
    m_Action->bStopsShort = pStop->count < m_Action->nPointsLeft;
    m_Action->nPointsLeft = std::min<std::uint64_t>(m_Action->nPointsLeft, pStop->count);
  }
  if (const Fault* pSurplus = shaper.Find(FaultKind::SurplusPoints)) m_Action->nSurplusLeft = pSurplus->count;
  m_Action->due = at + StreamRamp + PointTime();
  m_bMotorReleased = false;
}

void OpticalUnit::StreamPoint(Time at) {
  Action& action = *m_Action;
  if (action.nPointsLeft == 0 && action.nSurplusLeft == 0) return EndStream(at);
  std::string strReading;
  AppendReading(strReading, at);
  Send(at, action.work.shaper, strReading);
  if (action.nPointsLeft > 0) {
    --action.nPointsLeft;
    m_Monochromator.PlaceAt(m_Monochromator.Position() + m_iMeasurementLength);
  } else {
    --action.nSurplusLeft;
  }
  action.due = at + PointTime();
}

void OpticalUnit::EndStream(Time at) {
  Action action = *std::exchange(m_Action, std::nullopt);
  if (action.bStopsShort) return;
  m_Monochromator.PlaceAt(action.iStreamEnd);
  AnswerShaper& shaper = action.work.shaper;
  if (!shaper.Has(FaultKind::NoTrailer)) {
    const Time sent = at + shaper.Delay(FaultKind::LateTrailer);
    if (sent == at) {
      Send(sent, shaper, Trailer);
    } else {
      Schedule(sent, shaper.Shape(Trailer));
    }
  }
  Schedule(at, shaper.Finish());
  SendPending(at);
}

// ---- the world around it ----

void OpticalUnit::SetSample(Sample sample, Time from) {
  while (!m_Samples.empty() && m_Samples.back().first >= from) m_Samples.pop_back();
  m_Samples.emplace_back(from, std::move(sample));
}

void OpticalUnit::SetFaults(const InstrumentFaults& faults) {
  m_Settings.faults = faults;
  m_LightPath.SetFaults(faults);
  m_Monochromator.SetOffset(m_Settings.positionOffset + faults.slippedSteps);
}

void OpticalUnit::SwitchPower(Time now, bool bOn) {
  if (m_bPowered && !bOn) ResetState(now);
  m_bPowered = bOn;
}

void OpticalUnit::ResetState(Time now) {
  m_Pacer.Clear();
  m_Parser.Clear();
  m_Scheduled.clear();
  m_Queue.clear();
  m_Action.reset();
  m_LightPath.Reset(now);
  m_Monochromator.SetSpeed(50);
  m_Turbidity.SetPower(1);
  m_Turbidity.SetHighGain(false);
  m_bOptoPower = m_bHighGain = m_bMotorReleased = false;
  m_iFan = 0;
  m_iADSpeed = 9;
  m_iMeasurementLength = 1;
}

OpticalUnitState OpticalUnit::State() const {
  OpticalUnitState state;
  state.bOptoPower = m_bOptoPower;
  state.bShutterClosed = m_LightPath.ShutterClosed();
  state.bHighGain = m_bHighGain;
  state.bDeuterium = m_LightPath.Deuterium().IsOn();
  state.bMotorReleased = m_bMotorReleased;
  state.bTurbidityHighGain = m_Turbidity.HighGain();
  state.halogen = m_LightPath.Halogen().Power();
  state.filter = m_LightPath.Filters().Position();
  state.mirror = m_LightPath.Mirror();
  state.fan = m_iFan;
  state.position = m_Monochromator.Position();
  state.speed = m_Monochromator.Speed();
  state.adSpeed = m_iADSpeed;
  state.measurementLength = m_iMeasurementLength;
  state.turbidityPower = m_Turbidity.Power();
  return state;
}

double OpticalUnit::ApparentAbsorbance(double wavelength, Time now) const {
  const Sample* pSample = &m_Sample;
  for (const auto& [from, sample] : m_Samples) {
    if (from <= now) pSample = &sample;
  }
  return pSample->ApparentAbsorbance(wavelength, now, m_Settings.strayLight);
}

}  // namespace simulator
