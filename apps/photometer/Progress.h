/// What is going on, for a person: a bar that is redrawn in place on a terminal, plain lines elsewhere.
///
/// Used by the host's own thread only.
#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "HostEvent.h"

namespace host {

class Progress {
 public:
  /// Ticks, ms.
  using Clock = std::function<photometer::DWORD()>;

  /// Width of the terminal at this moment, characters.
  using Columns = std::function<std::size_t()>;

  /// The stream must outlive it. Without a clock nothing is said about the time left; without columns no line is too
  /// long.
  Progress(std::ostream& stream, bool bTerminal, Clock clock = nullptr, Columns columns = nullptr)
      : m_stream(stream), m_bTerminal(bTerminal), m_clock(std::move(clock)), m_columns(std::move(columns)) {}
  ~Progress() { EndBar(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows an event; one that says nothing to a person shows nothing.
  void Show(const HostEvent& event);
  /// How far a stage has come, 0 to 1, with the time left: the given one, s, else an estimate from the pace so far.
  void ShowShare(const std::string& stage, double dShare, std::optional<photometer::DWORD> secondsLeft = std::nullopt);
  /// A line of its own.
  void Say(const std::string& text);
  /// Notifications that mean something else in the run that follows, and are not shown until `EndRun`.
  void Ignore(std::vector<photometer::DWORD> codes) { m_ignored = std::move(codes); }
  /// Ends an unfinished bar.
  void EndRun();

 private:
  void ShowNotification(const Notification& notification);
  [[nodiscard]] std::string TimeLeft(double dShare, std::optional<photometer::DWORD> secondsLeft) const;
  void ShowCountdown(const Countdown& countdown);
  /// Characters that a line may have on which more is to be drawn; asked once for each line, as a person may change it.
  [[nodiscard]] std::size_t Room() const;
  void Redraw(std::string text, std::size_t nRoom);
  void EndBar();

  std::ostream& m_stream;
  bool m_bTerminal;
  /// Columns of the unfinished line on the terminal; 0: none.
  std::size_t m_nColumns = 0;
  Clock m_clock;
  Columns m_columns;
  std::vector<photometer::DWORD> m_ignored;
  /// The stage that was last shown, when it was first shown and how far it had come then.
  std::string m_strStage;
  DWORD m_dwStageTick = 0;
  double m_dStageShare = 0;
  /// What was last written as a plain line about it.
  DWORD m_dwQuarter = 0;
};

}  // namespace host
