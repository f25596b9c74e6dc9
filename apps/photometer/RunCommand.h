/// What all commands that run something on the instrument share: options of board, instrument and results, start-up,
/// sample, shutdown, and the results written when the lamps are off. On an instrument that it has joined only sample,
/// run and results: it stays on.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "BoardOptions.h"
#include "Command.h"
#include "InstrumentOptions.h"
#include "ResultHeader.h"
#include "ResultOptions.h"
#include "Workplace.h"

namespace host {

class RunCommand : public Command {
 public:
  void Join(Workplace& workplace) final;
  void AddOptions(CLI::App& app) final;
  void Check() final;
  ExitCode Run(Console& console) final;

 protected:
  /// What the holder must have during the run. `DrawnSample`: with a pump attached, the run draws the sample itself.
  /// `AsItIs`: it does not matter.
  enum class Holder { Sample, DrawnSample, Empty, AsItIs };

  /// `kind` names the results.
  RunCommand(std::string kind, Holder holder) : m_holder(holder) { m_header.strKind = std::move(kind); }

  virtual void AddOwnOptions(CLI::App& app) = 0;
  /// Before the shared options are checked.
  virtual void Prepare() {}
  /// Throws `CLI::ValidationError`. The shared options have been checked.
  virtual void CheckOwn() = 0;
  /// After the start-up, with the holder as wanted.
  virtual ExitCode Operate(Bench& bench) = 0;
  /// A port that the command cannot do without, beside the optical unit's.
  [[nodiscard]] virtual std::optional<BoardPort> NeededPort() const { return std::nullopt; }
  /// The command writes lines while it runs, and no results at its end.
  [[nodiscard]] virtual bool IsLive() const { return false; }
  /// The results as text; the header is complete.
  [[nodiscard]] virtual std::string Results() const = 0;
  [[nodiscard]] virtual bool HasResults() const = 0;
  /// Nothing when there is nothing to draw.
  [[nodiscard]] virtual std::optional<Plot> Picture() const { return std::nullopt; }
  /// A last look at results that came without fault; an exit code other than `Success` with a message.
  virtual ExitCode Judge(Console&) const { return ExitCode::Success; }
  /// The command goes on after a start-up that the instrument did not pass.
  [[nodiscard]] virtual bool GoesOnAfterFailedStartUp() const { return false; }

  /// Starts a run and waits for its end, with a message when that is no good one.
  ExitCode RunOperation(Bench& bench, const char* what, const StartOperation& start, const EventHandler& handler,
                        EndNotice notice = EndNotice::BeforeIdle);
  /// What it means when the device does not accept a start, with a message.
  static ExitCode Refuse(Bench& bench, const char* what, HRESULT hResult);
  /// What an end that is no good one means for something that was attended to, with a message; `failure` says it for
  /// `Finished`.
  static ExitCode ConcludeAttended(Bench& bench, const char* what, Outcome outcome, const std::string& failure);
  /// No sample is needed after all.
  void LeaveHolder() { m_holder = Holder::AsItIs; }
  void AddSetting(const std::string& name, const std::string& value) { m_header.settings.emplace_back(name, value); }
  /// The command works on an instrument that is there already, with the options that this was started with.
  [[nodiscard]] bool HasJoined() const { return m_pWorkplace != nullptr; }
  /// The device has been given other pump parameters, which hold from now on.
  void KeepPumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2);
  /// A zero value is to be measured there by the next start-up, as `InstrumentOptions::AddZero` says.
  void NeedZero(double dWavelength);
  /// Sample, date and instrument, for a picture.
  [[nodiscard]] std::string Subtitle() const;

  BoardOptions m_board;
  InstrumentOptions m_instrument;
  ResultOptions m_results;
  ResultHeader m_header;
  /// The error of a start-up that was not passed.
  std::optional<LONG> m_startUpError;

 private:
  /// Start-up, sample, run. What was delivered is kept, whatever the end.
  ExitCode Perform(Console& console, Workplace& workplace);
  ExitCode StartUp(Bench& bench, Workplace& workplace);
  ExitCode PrepareHolder(Bench& bench) const;
  ExitCode InsertSample(Bench& bench) const;
  ExitCode EmptyHolder(Bench& bench) const;
  [[nodiscard]] bool TakesSample() const { return m_holder == Holder::Sample || m_holder == Holder::DrawnSample; }
  [[nodiscard]] bool DrawsSample() const { return m_holder == Holder::DrawnSample && m_instrument.PumpText(); }
  ExitCode WriteResults(Console& console, ExitCode code);

  Holder m_holder;
  std::vector<double> m_neededZeros;
  photometer::DWORD m_dwCuvetteWait = 0;
  /// Null: the command has an instrument of its own.
  Workplace* m_pWorkplace = nullptr;
};

}  // namespace host
