#include "simulator/SipperZQ420.h"

#include <utility>

namespace simulator {

namespace {

/// The pump reports it and runs all the same.
constexpr int HarmlessFault = 4;

constexpr std::uint64_t SecondsPerMinute = 60;
constexpr std::uint64_t SecondsPerHour = 3600;
constexpr std::uint64_t SecondsPerDay = 86400;

}  // namespace

SipperZQ420::SipperZQ420(SipperZQ420Settings settings)
    : m_Settings(std::move(settings)), m_RunTime(m_Settings.runTime * MicrosecondsPerSecond) {
  if (m_Settings.bPowered) SwitchPower(0, true);
}

void SipperZQ420::SwitchPower(Time now, bool bOn) {
  if (bOn == m_bPowered) return;
  m_bPowered = bOn;
  m_Line.Clear();
  Stop(now);
  if (bOn) m_Line.SendFrame(now, "p");
}

void SipperZQ420::FailPumping(int iFault, Time delay) {
  m_iPumpingFault = iFault;
  m_PumpingFaultDelay = delay;
}

std::string SipperZQ420::TakeOutput(Time now) {
  StopAtFault(now);
  return m_Line.TakeOutput(now);
}

void SipperZQ420::Receive(Time now, std::string_view bytes) {
  StopAtFault(now);
  if (!m_bPowered) return;
  for (const std::string& text : m_Line.TakeFrames(now, bytes)) {
    AnswerShaper shaper(m_Line.Faults().Take(text.empty() ? '\0' : text.front()));
    if (const Fault* pStale = shaper.Find(FaultKind::StaleBefore)) m_Line.SendBytes(now, pStale->bytes);
    if (shaper.Has(FaultKind::Silence)) continue;
    const std::string strAnswer = Execute(now, text, shaper);
    if (!strAnswer.empty()) m_Line.SendFrame(now + m_Settings.answerTime, strAnswer, shaper);
  }
}

std::string SipperZQ420::Execute(Time now, const std::string& text, const AnswerShaper& shaper) {
  if (text == "p") return text;
  if (text == "d") return "d;" + m_Settings.data1 + ";" + m_Settings.data2 + ";" + m_Settings.version;
  if (text == "t") return RunTimeText();
  if (text == "s") return Start(now, shaper.Find(FaultKind::Error));
  if (text != "e") return {};
  Stop(now);
  return text;
}

std::string SipperZQ420::Start(Time now, const Fault* pFault) {
  if (pFault == nullptr || pFault->count == std::size_t{HarmlessFault}) {
    m_Start = now;
    ++m_dwCycles;
    if (m_pCell != nullptr) m_pCell->Start(now, FlowCell::Inlet::Vessel);
    if (m_iPumpingFault != 0) {
      m_Line.SendFrame(now + m_PumpingFaultDelay, "p;f;" + std::to_string(m_iPumpingFault));
      m_FaultEnd = m_iPumpingFault == HarmlessFault ? Never : now + m_PumpingFaultDelay;
    }
  }
  return pFault == nullptr ? "s" : "s;f;" + std::to_string(pFault->count);
}

void SipperZQ420::Stop(Time now) {
  if (!IsPumping()) return;
  m_RunTime += now - m_Start;
  if (m_pCell != nullptr) m_pCell->Stop(now);
  m_Start = m_FaultEnd = Never;
}

void SipperZQ420::StopAtFault(Time now) {
  if (m_FaultEnd <= now && m_FaultEnd != Never) Stop(m_FaultEnd);
}

std::string SipperZQ420::RunTimeText() const {
  const std::uint64_t nSeconds = RunTime();
  return "t;" + std::to_string(nSeconds / SecondsPerDay) + ";" +
         std::to_string(nSeconds % SecondsPerDay / SecondsPerHour) + ";" +
         std::to_string(nSeconds % SecondsPerHour / SecondsPerMinute) + ";" +
         std::to_string(nSeconds % SecondsPerMinute);
}

}  // namespace simulator
