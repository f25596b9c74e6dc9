#include "optics/OpticalExchange.h"

#include <array>

namespace photometer {

namespace {

/// The bytes behind the last point come with it or, at worst, this much later, ms.
constexpr DWORD STREAM_END_LIMIT = 2000;
/// Silence that says that no point follows the last one, ms: a unit that sends too many sends one every 2 ms or so, and
/// the first bytes of one look like the bytes behind the last point.
constexpr DWORD QUIET_AFTER_STREAM = 5;

}  // namespace

OpticalExchange::OpticalExchange(OpticalLink& link, ExchangeKind kind) : m_Link(link), m_bClaimed(link.Claim()) {
  if (m_bClaimed) {
    m_Link.WriteAll(m_Link.TakeWaiting(false));
    m_Link.DrainBacklog(kind);
  }
}

OpticalExchange::~OpticalExchange() {
  if (m_bClaimed) {
    m_Link.SetExchanging(false);
    m_Link.ReleaseClaim();
  }
}

bool OpticalExchange::Send(std::string_view strCommand) {
  if (!m_bClaimed || m_Link.m_State.IsStopping()) {
    return false;
  }
  m_Link.SetExchanging(true);
  m_Link.m_Buffer.Clear();
  return m_Link.m_Port.Write(strCommand) == PortWrite::Written;
}

OpticalExchange::Arrival OpticalExchange::Receive(std::string& reply, DWORD dwMilliseconds) {
  const std::array<HANDLE, 2> handles{m_Link.m_Buffer.DataEvent(), m_Link.m_State.StopEvent()};
  return Wait(handles.data(), 2, reply, dwMilliseconds);
}

OpticalExchange::Arrival OpticalExchange::ReceiveOrCancel(std::string& reply, DWORD dwMilliseconds) {
  const std::array<HANDLE, 3> handles{m_Link.m_Buffer.DataEvent(), m_Link.m_State.StopEvent(),
                                      m_Link.m_State.CancelEvent()};
  return Wait(handles.data(), 3, reply, dwMilliseconds);
}

OpticalExchange::Arrival OpticalExchange::Wait(const HANDLE* pHandles, DWORD dwCount, std::string& reply,
                                               DWORD dwMilliseconds) {
  const DWORD dwResult = WaitForMultipleObjects(dwCount, pHandles, dwMilliseconds);
  if (m_Link.m_State.IsStopping()) {
    return Arrival::Silence;
  }
  if (dwResult == WAIT_OBJECT_0) {
    m_Link.m_Buffer.CollectReceived(reply);
    return Arrival::Data;
  }
  return dwResult == WAIT_OBJECT_0 + 2 ? Arrival::Cancel : Arrival::Silence;
}

bool OpticalExchange::Overflowed() const { return m_Link.m_Buffer.Overflowed(); }

PointStream::Verdict OpticalExchange::TakePoints(std::string_view bytes, PointStream& stream,
                                                 std::vector<Reading>* pPoints) {
  PointStream::Verdict verdict = stream.Take(bytes, pPoints);
  verdict = Overflowed() ? PointStream::Verdict::TooMuch : verdict;
  if (verdict == PointStream::Verdict::Complete) {
    verdict = TakeStreamEnd(stream);
  }
  if (verdict == PointStream::Verdict::Error || verdict == PointStream::Verdict::TooMuch) {
    GiveUp(Backlog::Stream, 0);
  }
  return verdict;
}

PointStream::Verdict OpticalExchange::TakeStreamEnd(PointStream& stream) {
  std::vector<Reading> none;
  PointStream::Verdict verdict = PointStream::Verdict::Complete;
  while (verdict == PointStream::Verdict::Complete) {
    std::string bytes;
    if (Receive(bytes, stream.MissingEndBytes() == 0 ? QUIET_AFTER_STREAM : STREAM_END_LIMIT) != Arrival::Data) {
      break;
    }
    verdict = stream.Take(bytes, &none);
  }
  if (verdict == PointStream::Verdict::Complete && stream.MissingEndBytes() > 0) {
    m_Link.OweBytes(stream.MissingEndBytes());
  }
  return verdict;
}

DWORD OpticalExchange::GiveUp(Backlog backlog, DWORD dwResult) {
  m_Link.NoteBacklog(backlog);
  return dwResult;
}

}  // namespace photometer
