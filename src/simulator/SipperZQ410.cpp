#include "simulator/SipperZQ410.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

namespace simulator {

namespace {

constexpr Time MicrosecondsPerSecond = 1'000'000;

constexpr std::string_view Banner = "VELTRANOMETRIK ZQ-410";
constexpr std::string_view BannerGap = "\r\n";
constexpr std::string_view Failed = "h3;a";

/// "H;005;120": two fields of three digits.
constexpr std::size_t ParameterText = 9;
constexpr std::size_t FirstParameter = 2;
constexpr std::size_t SecondParameterAt = 6;
constexpr std::size_t ParameterDigits = 3;

std::uint32_t Number(std::string_view digits) {
  std::uint32_t dwNumber = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), dwNumber);
  return dwNumber;
}

}  // namespace

/// One command: how its text begins, its letter for faults, how long it takes (µs) and what it answers in the end.
struct SipperZQ410::Rule {
  std::string_view text;
  char letter;
  Time (*time)(const SipperZQ410& pump);
  std::string (*apply)(SipperZQ410& pump, const std::string& text);
  /// What is pumped meanwhile. It may fail.
  std::optional<FlowCell::Inlet> inlet = {};
};

SipperZQ410::SipperZQ410(SipperZQ410Settings settings)
    : m_Settings(std::move(settings)), m_dwPumpTime(m_Settings.pumpTime) {
  if (m_Settings.bPowered) SwitchPower(0, true);
}

void SipperZQ410::SwitchPower(Time now, bool bOn) {
  if (bOn == m_bPowered) return;
  m_bPowered = bOn;
  m_Line.Clear();
  if (m_pCell != nullptr) m_pCell->Stop(now);
  m_NextKeepAlive = bOn ? now + m_Settings.keepAlivePeriod : Never;
  if (!bOn) return;
  std::string strBanner(Banner);
  strBanner += BannerGap;
  strBanner += "V" + m_Settings.version;
  m_Line.SendBytes(now, std::move(strBanner));
}

// ---- the line ----

void SipperZQ410::Receive(Time now, std::string_view bytes) {
  SendKeepAlives(now);
  if (!m_bPowered) return;
  for (const std::string& text : m_Line.TakeFrames(now, bytes)) Accept(now, text);
}

Time SipperZQ410::NextActivity() const {
  const Time keepAlive = m_NextKeepAlive <= m_KeepAliveEnd ? m_NextKeepAlive : Never;
  return std::min(keepAlive, m_Line.NextActivity());
}

std::string SipperZQ410::TakeOutput(Time now) {
  SendKeepAlives(now);
  return m_Line.TakeOutput(now);
}

void SipperZQ410::SendKeepAlives(Time now) {
  while (m_NextKeepAlive != Never && m_NextKeepAlive <= std::min(now, m_KeepAliveEnd)) {
    m_Line.SendFrame(m_NextKeepAlive, "y;a");
    ++m_dwKeepAlives;
    m_NextKeepAlive += m_Settings.keepAlivePeriod;
  }
}

void SipperZQ410::PressKeyB(Time at) {
  Run(at, CycleTime(), FlowCell::Inlet::Vessel);
  m_Line.SendFrame(at + CycleTime(), "h1;b");
}

void SipperZQ410::Run(Time from, Time duration, FlowCell::Inlet inlet) {
  if (m_pCell == nullptr) return;
  m_pCell->Start(from, inlet);
  m_pCell->Stop(from + duration);
}

// ---- commands ----

void SipperZQ410::Accept(Time now, const std::string& text) {
  using Pump = SipperZQ410;
  static constexpr std::array<Rule, 5> Rules{{
      {"Y;a", 'Y', nullptr, [](Pump& pump, const std::string&) { return ++pump.m_dwAnswered, std::string(); }},
      {"H;", 'H', nullptr,
       [](Pump& pump, const std::string& strText) { return pump.SetParameters(strText), std::string("h;"); }},
      {"V;a", 'V', nullptr, [](Pump& pump, const std::string&) { return "v;ZQ410;" + pump.m_Settings.version; }},
      {"H1;a", '1', [](const Pump& pump) { return pump.CycleTime(); },
       [](Pump& pump, const std::string&) { return ++pump.m_dwCycles, std::string("h1;b"); }, FlowCell::Inlet::Vessel},
      {"H2;a", '2', [](const Pump& pump) { return pump.m_Settings.flushTime; },
       [](Pump& pump, const std::string&) { return ++pump.m_dwFlushes, std::string("h2;b"); }, FlowCell::Inlet::Water},
  }};
  const auto pRule = std::ranges::find_if(Rules, [&](const Rule& rule) { return text.starts_with(rule.text); });
  if (pRule == Rules.end()) return;
  AnswerShaper shaper(m_Line.Faults().Take(pRule->letter));
  if (const Fault* pStale = shaper.Find(FaultKind::StaleBefore)) m_Line.SendBytes(now, pStale->bytes);
  if (shaper.Has(FaultKind::Silence)) return;
  const Time time = m_Settings.answerTime + (pRule->time != nullptr ? pRule->time(*this) : 0);
  std::string strAnswer = pRule->apply(*this, text);
  if (pRule->inlet) {
    if (shaper.Has(FaultKind::Error)) {
      strAnswer = Failed;
    } else {
      Run(now, time, *pRule->inlet);
    }
  }
  if (!strAnswer.empty()) m_Line.SendFrame(now + time, strAnswer, shaper);
}

void SipperZQ410::SetParameters(const std::string& text) {
  if (text.size() != ParameterText) return;
  m_dwPumpTime = Number(std::string_view(text).substr(FirstParameter, ParameterDigits));
  m_dwSecondParameter = Number(std::string_view(text).substr(SecondParameterAt, ParameterDigits));
}

Time SipperZQ410::CycleTime() const { return m_dwPumpTime * MicrosecondsPerSecond; }

}  // namespace simulator
