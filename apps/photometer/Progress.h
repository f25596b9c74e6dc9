/// What is going on, for a person: a bar that is redrawn in place on a terminal, plain lines elsewhere.
///
/// Used by the host's own thread only.
#pragma once

#include <ostream>
#include <string>

#include "HostEvent.h"

namespace host {

class Progress {
 public:
  /// The stream must outlive it.
  Progress(std::ostream& stream, bool bTerminal) : m_stream(stream), m_bTerminal(bTerminal) {}
  ~Progress() { EndBar(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows an event; one that says nothing to a person shows nothing.
  void Show(const HostEvent& event);
  /// A line of its own.
  void Say(const std::string& text);

 private:
  void ShowNotification(const Notification& notification);
  void ShowPercent(const std::string& stage, DWORD dwPercent);
  void ShowCountdown(const Countdown& countdown);
  void Redraw(const std::string& text);
  void EndBar();

  std::ostream& m_stream;
  bool m_bTerminal;
  /// Columns of the unfinished line on the terminal; 0: none.
  std::size_t m_nColumns = 0;
  /// What was last written as a plain line about a stage.
  std::string m_strStage;
  DWORD m_dwQuarter = 0;
};

}  // namespace host
