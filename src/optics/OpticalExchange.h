/// One exchange with the optical unit, from the command to the end of its answer.
///
/// There is one way to begin: the line is claimed; what is still on its way is taken in and dropped; the buffer is
/// emptied and its event reset; the command is written. An exchange that ends before its answer is complete must say
/// so with `GiveUp`. While it lives, raw writes of others wait. It belongs to the thread that made it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "optics/OpticalLink.h"
#include "optics/PointStream.h"

namespace photometer {

class OpticalExchange {
 public:
  enum class Arrival { Data, Silence, Cancel };

  OpticalExchange(OpticalLink& link, ExchangeKind kind);
  ~OpticalExchange();
  OpticalExchange(const OpticalExchange&) = delete;
  OpticalExchange& operator=(const OpticalExchange&) = delete;

  /// Empties the buffer and writes the command. False: it could not be written.
  bool Send(std::string_view strCommand);
  /// Waits for bytes and appends them to `reply`. `Silence`: none came in time, or the device stops.
  Arrival Receive(std::string& reply, DWORD dwMilliseconds = SILENCE_LIMIT);
  /// As `Receive`, and ends with `Cancel` when the cancel event is signalled and nothing has come.
  Arrival ReceiveOrCancel(std::string& reply, DWORD dwMilliseconds = SILENCE_LIMIT);
  /// Takes the whole points of a stream's bytes out of them. With the last one, takes in the bytes behind it, for at
  /// most 2 s, and what comes on top of them; the next exchange waits for those that come later. Lost bytes are
  /// `TooMuch`. After `Error` and `TooMuch` the stream is given up.
  PointStream::Verdict TakePoints(std::string_view bytes, PointStream& stream, std::vector<Reading>* pPoints);
  /// Bytes were lost since the command was sent.
  [[nodiscard]] bool Overflowed() const;
  /// The answer is not complete: the rest may still come. Returns `dwResult`.
  DWORD GiveUp(Backlog backlog, DWORD dwResult);

 private:
  PointStream::Verdict TakeStreamEnd(PointStream& stream);
  Arrival Wait(const HANDLE* pHandles, DWORD dwCount, std::string& reply, DWORD dwMilliseconds);

  OpticalLink& m_Link;
  bool m_bClaimed;
};

}  // namespace photometer
