#include "Progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "Duration.h"
#include "EventText.h"

namespace host {

namespace {

/// How a notification is shown. `Percent`: its value is the progress of the stage.
enum class Style { Line, Percent };

struct StageText {
  DWORD dwCode;
  Style style;
  const char* words;
};

// Codes that are not here (43, 10, 11, 12, 39) only frame the start-up: its end is told by what the session found out.
constexpr std::array Stages = {
    StageText{1, Style::Percent, "lamp test"},
    StageText{2, Style::Line, "lamp test passed"},
    StageText{3, Style::Line, "lamp test failed"},
    StageText{4, Style::Percent, "wavelength test"},
    StageText{5, Style::Line, "wavelength test passed"},
    StageText{6, Style::Line, "wavelength test failed"},
    StageText{7, Style::Percent, "zero measurement"},
    StageText{8, Style::Line, "zero measurement done"},
    StageText{15, Style::Percent, "measurement"},
    StageText{17, Style::Line, "finished"},
    StageText{18, Style::Line, "cancelled"},
    StageText{31, Style::Line, "please remove the cuvette"},
    StageText{32, Style::Line, "cuvette removed"},
};

constexpr std::size_t BarWidth = 30;
// A shorter bar says no more than the percentage beside it.
constexpr std::size_t ShortestBar = 5;
/// The longest time left.
constexpr std::string_view LongestRest = ", 167 h 59 min left";

/// As wide as the room that the text behind it leaves; empty when that is too little.
std::string Bar(DWORD dwPercent, std::size_t nRoom) {
  constexpr std::size_t Frame = 3;
  if (nRoom < ShortestBar + Frame) {
    return {};
  }
  const std::size_t nWidth = std::min(BarWidth, nRoom - Frame);
  const std::size_t nFilled = dwPercent * nWidth / 100;
  return "[" + std::string(nFilled, '#') + std::string(nWidth - nFilled, '.') + "] ";
}

}  // namespace

void Progress::Show(const HostEvent& event) {
  if (const auto* pNotification = std::get_if<Notification>(&event)) {
    ShowNotification(*pNotification);
  } else if (const auto* pCountdown = std::get_if<Countdown>(&event)) {
    ShowCountdown(*pCountdown);
  } else if (const auto text = DescribeEvent(event); text && !std::holds_alternative<ExternalData>(event)) {
    Say(text->strWords);
  }
}

void Progress::Say(const std::string& text) {
  EndBar();
  m_strStage.clear();
  m_stream << text << "\n" << std::flush;
}

void Progress::ShowNotification(const Notification& notification) {
  const auto stage = std::find_if(Stages.begin(), Stages.end(), [&notification](const StageText& text) {
    return text.dwCode == notification.dwCode;
  });
  const bool bIgnored = std::find(m_ignored.begin(), m_ignored.end(), notification.dwCode) != m_ignored.end();
  if (stage == Stages.end() || bIgnored) {
    return;
  }
  if (stage->style == Style::Line) {
    Say(stage->words);
  } else if (notification.dwValue > 0) {
    // Value 0 only announces a stage that comes later.
    ShowShare(stage->words, notification.dwValue / 100.0);
  }
}

void Progress::ShowShare(const std::string& stage, double dShare, std::optional<DWORD> secondsLeft) {
  dShare = std::clamp(dShare, 0.0, 1.0);
  const auto dwPercent = static_cast<DWORD>(dShare * 100 + 1e-9);
  const DWORD dwQuarter = dwPercent / 25;
  const bool bNew = stage != m_strStage || dShare < m_dStageShare;
  if (bNew) {
    m_strStage = stage;
    m_dStageShare = dShare;
    m_dwStageTick = m_clock ? m_clock() : 0;
  }
  if (m_bTerminal) {
    const std::size_t nRoom = Room();
    const std::string text = fmt::format("{:>3} %  {}", dwPercent, stage);
    // The time left comes and goes: the bar keeps its length.
    const std::size_t nText = text.size() + (secondsLeft || m_clock ? LongestRest.size() : 0);
    Redraw(Bar(dwPercent, nRoom - std::min(nRoom, nText)) + text + TimeLeft(dShare, secondsLeft), nRoom);
  } else if (bNew || dwQuarter > m_dwQuarter) {
    // A log file needs no line for each wavelength: one for the beginning of a stage and one for each quarter.
    m_stream << fmt::format("{}: {} %{}\n", stage, dwPercent, TimeLeft(dShare, secondsLeft)) << std::flush;
  }
  m_dwQuarter = dwQuarter;
}

std::string Progress::TimeLeft(double dShare, std::optional<DWORD> secondsLeft) const {
  const double dDone = dShare - m_dStageShare;
  if (!secondsLeft && m_clock && dDone > 0) {
    const double dSeconds = (m_clock() - m_dwStageTick) / 1000.0;
    secondsLeft = static_cast<DWORD>(std::lround(dSeconds * (1 - dShare) / dDone));
  }
  return secondsLeft && dShare < 1 ? fmt::format(", {} left", FormatDuration(*secondsLeft)) : std::string();
}

void Progress::ShowCountdown(const Countdown& countdown) {
  const char* words = countdown.kind == CountdownKind::WarmUp ? "deuterium lamp warms up" : "sample settles";
  if (m_bTerminal) {
    Redraw(fmt::format("{}: {} s left", words, countdown.dwSeconds), Room());
  } else if (m_strStage != words || countdown.dwSeconds % 30 == 0) {
    m_strStage = words;
    m_stream << fmt::format("{}: {} s left\n", words, countdown.dwSeconds) << std::flush;
  }
}

std::size_t Progress::Room() const {
  const std::size_t nColumns = m_columns ? m_columns() : 0;
  return nColumns > 1 ? nColumns - 1 : std::string::npos;
}

void Progress::Redraw(std::string text, std::size_t nRoom) {
  // A line that goes on on the next one could not be drawn over.
  text.resize(std::min(text.size(), nRoom));
  const std::size_t nBefore = std::min(m_nColumns, nRoom);
  const std::size_t nErase = nBefore > text.size() ? nBefore - text.size() : 0;
  m_stream << "\r" << text << std::string(nErase, ' ') << std::flush;
  m_nColumns = text.size();
}

void Progress::EndRun() {
  EndBar();
  m_strStage.clear();
  m_ignored.clear();
}

void Progress::EndBar() {
  if (m_nColumns > 0) {
    m_stream << "\n" << std::flush;
    m_nColumns = 0;
  }
}

}  // namespace host
