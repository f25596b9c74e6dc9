#include "ExternalCommand.h"

#include <map>
#include <utility>

#include <CLI/CLI.hpp>

#include "Duration.h"
#include "platform/Platform.h"
#include "platform/Transcript.h"

namespace host {

namespace layer = photometer::platform;

namespace {

// A line that goes on does so within this time, ms: at 300 baud a byte takes 33.
constexpr DWORD QuietTime = 100;
constexpr DWORD LongestLinger = 3600;
// Real time, ms, that a simulated instrument stands still while nobody types: else it would race through hours.
constexpr int TypingPause = 50;
// What is piped in without a line end must not be kept for ever.
constexpr std::size_t LongestTyped = 65536;

const std::map<std::string, std::string> LineEnds = {{"none", ""}, {"cr", "\r"}, {"lf", "\n"}, {"crlf", "\r\n"}};

}  // namespace

void ExternalCommand::AddOwnOptions(CLI::App& app) {
  app.add_option("--line-end", m_strLineEnd, "What is sent for the end of a typed line")
      ->check(CLI::IsMember(LineEnds).description(""))
      ->type_name("none|cr|lf|crlf")
      ->default_str(m_strLineEnd);
  AddDurationOption(app, "--linger", m_dwLinger, 0, LongestLinger, 1,
                    "After the end of the input, go on until the line has been quiet for so long");
  AddHappenings(app);
}

void ExternalCommand::CheckOwn() {
  if (m_instrument.Parameters().dwOperatingMode == ModeZQ410) {
    throw CLI::ValidationError("--pump", "zq410 has the external port for itself; leave it out for a terminal");
  }
  CheckHappenings();
}

std::optional<BoardPort> ExternalCommand::NeededPort() const { return ExternalPort; }

ExitCode ExternalCommand::Operate(Bench& bench) {
  EventLog log(bench.console, m_results.Format());
  log.Begin(m_header);
  bench.progress.Say(
      bench.console.pInput == nullptr
          ? "listening to the external port; nothing is sent, since standard input has the commands: a "
            "script in a file (\"photometer run FILE\") leaves it to the port"
          : "terminal on the external port; \\xNN stands for a byte, Ctrl-C or the end of the input ends it");
  m_dwLastTick = layer::GetTickCount();
  const Outcome outcome = Follow(
      bench,
      [this](const HostEvent& event) {
        if (const auto* pData = std::get_if<ExternalData>(&event)) {
          m_strArrived += m_lines.Take(pData->bytes);
          m_dwLastTick = layer::GetTickCount();
        }
      },
      [&] { return Step(bench, log); }, std::nullopt);
  m_strArrived += m_lines.TakeRest();
  Show(log);
  log.End(outcome == Outcome::Finished ? "end of the input" : "ended by a person");
  return log.Conclude();
}

bool ExternalCommand::Step(Bench& bench, EventLog& log) {
  const DWORD dwQuiet = layer::GetTickCount() - m_dwLastTick;
  if (dwQuiet >= QuietTime) {
    m_strArrived += m_lines.TakeRest();
  }
  Show(log);
  if (!m_bInputEnded) {
    TakeInput(bench, log);
    return log.IsGood();
  }
  return log.IsGood() && dwQuiet < m_dwLinger * 1000;
}

void ExternalCommand::Show(EventLog& log) {
  while (!m_strArrived.empty()) {
    const std::size_t nEnd = m_strArrived.find('\n');
    log.WriteWords("received", m_strArrived.substr(0, nEnd));
    m_strArrived.erase(0, nEnd + 1);
  }
}

void ExternalCommand::TakeInput(Bench& bench, EventLog& log) {
  const bool bRacing = m_board.bSimulate && m_board.pace == 0;
  Input* pInput = bench.console.pInput;
  const std::optional<std::string> typed = pInput == nullptr ? std::nullopt : pInput->Read(bRacing ? TypingPause : 0);
  if (!typed || !typed->empty()) {
    bench.board.Note(typed ? std::string(TraceTyped) + *typed : std::string(TraceInputEnd));
  }
  m_strTyped += typed.value_or("");
  for (std::size_t nEnd = 0; (nEnd = m_strTyped.find('\n')) != std::string::npos;) {
    Send(bench.session.Device(), BytesOf(m_strTyped.substr(0, nEnd)) + LineEnds.at(m_strLineEnd), log);
    m_strTyped.erase(0, nEnd + 1);
  }
  m_bInputEnded = !typed;
  if (m_bInputEnded || m_strTyped.size() > LongestTyped) {
    Send(bench.session.Device(), BytesOf(std::exchange(m_strTyped, {})), log);
  }
}

void ExternalCommand::Send(photometer::IPhotometer& device, const std::string& bytes, EventLog& log) {
  if (bytes.empty()) {
    return;
  }
  std::vector<photometer::BYTE> data(bytes.begin(), bytes.end());
  device.WriteExternalPort(data.data(), static_cast<DWORD>(data.size()));
  m_dwLastTick = layer::GetTickCount();
  if (m_results.Format() != OutputFormat::Table) {
    log.WriteWords("sent", layer::Printable(bytes));
  }
}

}  // namespace host
