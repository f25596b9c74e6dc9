/// The world of a run: the virtual board with the whole simulated instrument, watched and made to fail as the plan
/// says, and set as the current board for as long as the world lives.
///
/// A thread of the world ("host world") lets the plan's faults begin and end at their times.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Ledger.h"
#include "Plan.h"
#include "WatchedBoard.h"
#include "photometer/Records.h"
#include "platform/TracingBoard.h"
#include "platform/Transcript.h"
#include "platform/virtual/VirtualBoard.h"
#include "simulator/Instrument.h"
#include "simulator/SipperZQ410.h"
#include "simulator/SipperZQ420.h"

namespace explorer {

struct WorldOptions {
  /// Seed, policy and their like; what the profile decides is set from it.
  photometer::platform::VirtualBoardOptions board;
  bool bTrace = false;
};

class World {
 public:
  World(const Plan& plan, const WorldOptions& options);
  /// Nothing of the library may be alive.
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  const Plan& plan;
  simulator::Instrument instrument;
  simulator::SipperZQ410 zq410;
  simulator::SipperZQ420 zq420;
  photometer::platform::VirtualBoard board;
  Ledger ledger;
  WatchedBoard watched;
  photometer::platform::Transcript transcript;

  static constexpr const char16_t* OpticalPort = u"COM2:";
  static constexpr const char16_t* ExternalPort = u"COM1:";
  static constexpr const char16_t* SipperPort = u"COM6:";

  /// The host's records of this instrument.
  [[nodiscard]] photometer::PhotometerParameters Parameters() const;
  [[nodiscard]] photometer::CalibrationData Calibration() const;

  void Plug(const std::u16string& name);
  void Unplug(const std::u16string& name);
  /// Faults begin and end from now on.
  void StartFaults();
  /// No fault begins any more, and those that have begun end.
  void EndFaults();
  /// The optical unit and its line are as they should be throughout, but for lamps, and the host writes whole lines.
  [[nodiscard]] bool IsLineSound() const;
  /// No call of the system is made to fail.
  [[nodiscard]] bool IsSystemSound() const;
  /// The unit was without power, its port was gone, or the host wrote half a line, whose "error" comes in place of the
  /// next command's answer: what the device knows of the unit may be wrong until the next start-up.
  [[nodiscard]] bool WasUnitLost() const;
  /// Nothing but the device set the unit, and no byte that is no answer looked like one: the device can know what the
  /// unit is set to.
  [[nodiscard]] bool IsUnitKnown() const;
  /// The pump of the operating mode is there and its port open, and the host leaves both alone.
  [[nodiscard]] bool IsPumpSound() const;
  /// Answers of the pumps may still be to come.
  [[nodiscard]] bool ArePumpsLate() const;
  /// The light of the start-ups was that of the lamp alone, with all bytes in their places: the offset that they found
  /// is the unit's.
  [[nodiscard]] bool WasLightSound() const;
  /// No fault begins any more, and those that have begun end; everything is plugged in, switched on and empty.
  void Heal();
  /// Waits until no thread of the host's asks a pump any more, at most so many milliseconds.
  void WaitForPump(DWORD dwMilliseconds) const;
  /// Waits until the library's threads have ended. False: not within so many milliseconds.
  [[nodiscard]] bool WaitForThreads(DWORD dwMilliseconds) const;

 private:
  struct Moment {
    std::uint64_t nTime;  ///< ms
    const Clause* pFault;
    bool bBegins;
  };

  void RunFaults(const std::vector<Moment>& moments);

  std::set<std::u16string> m_plugged;
  std::optional<photometer::platform::TracingBoard> m_tracing;
  photometer::platform::Board* m_pBefore;
  std::atomic<bool> m_bStopFaults{false};
  std::atomic<bool> m_bFaultsEnded{true};
};

}  // namespace explorer
