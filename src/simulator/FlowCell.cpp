#include "simulator/FlowCell.h"

#include <algorithm>
#include <utility>

namespace simulator {

void FlowCell::Insert(Time at) {
  Settle(at);
  m_bInBeam = true;
  m_Content = m_Water;
  m_Drawn = 0;
  Show(m_Content, at);
}

void FlowCell::Remove(Time at) {
  m_bInBeam = false;
  m_Unit.SetSample(Sample::Blank(), at);
}

void FlowCell::Offer(Time now, Sample vessel) {
  Settle(now);
  m_Vessel = std::move(vessel);
  if (m_Inlet != Inlet::Vessel) return;
  m_Drawn = 0;
  if (m_Start != Never) PlanArrival(m_Start);
}

void FlowCell::Start(Time at, Inlet inlet) {
  Settle(at);
  SetInlet(inlet);
  m_Start = at;
  m_Stop = Never;
  PlanArrival(at);
}

void FlowCell::Stop(Time at) {
  if (m_Start == Never) return;
  m_Stop = std::min(m_Stop, std::max(at, m_Start));
  // What would have arrived later does not.
  if (m_Drawn + (m_Stop - m_Start) < TubeTime) Show(m_Content, m_Stop);
}

void FlowCell::Settle(Time at) {
  if (m_Start == Never) return;
  const Time end = std::min(std::max(at, m_Start), m_Stop);
  m_Drawn += end - m_Start;
  if (m_Drawn >= TubeTime) m_Content = Incoming();
  m_Start = end == m_Stop ? Never : end;
}

void FlowCell::SetInlet(Inlet inlet) {
  if (inlet == m_Inlet) return;
  m_Inlet = inlet;
  m_Drawn = 0;
}

void FlowCell::PlanArrival(Time from) {
  if (m_Drawn >= TubeTime) return;
  Show(m_Content, from);
  const Time arrival = from + TubeTime - m_Drawn;
  if (arrival <= m_Stop) Show(Incoming(), arrival);
}

void FlowCell::Show(const Sample& sample, Time from) {
  if (m_bInBeam) m_Unit.SetSample(sample, from);
}

}  // namespace simulator
