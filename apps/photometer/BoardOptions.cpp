#include "BoardOptions.h"

#include <cstdlib>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "../common/FaultText.h"
#include "../common/SampleName.h"
#include "DefectName.h"
#include "NumberOption.h"
#include "OutputFile.h"

namespace host {

namespace {

constexpr const char* Simulation = "Simulated instrument";

void TakeSpeed(const std::string& text, double& pace) {
  if (text == "max") {
    pace = 0;
  } else if (text == "1" || text == "10") {
    pace = text == "1" ? 1 : 10;
  } else {
    throw CLI::ValidationError("--speed", fmt::format("\"{}\" cannot be used; give max, 1 or 10", text));
  }
}

}  // namespace

void BoardOptions::AddTo(CLI::App& app) {
  pApp = &app;
  app.add_option("--board", boardFile,
                 "Board file of the real instrument (else that of PHOTOMETER_BOARD, else /etc/photometer/board.toml)")
      ->type_name("FILE");
  app.add_option("--trace", traceFile, "Write the transcript of the run: wire, callbacks, log, pins")
      ->type_name("FILE");
  app.add_flag("--simulate", bSimulate, "Use a simulated instrument in virtual time")->group(Simulation);
  AddIntegerOption(app, "--seed", seed, std::uint64_t{0}, ~std::uint64_t{0},
                   "Seed of its noise; the same seed repeats the run");
  app.add_option_function<std::string>(
         "--speed", [this](const std::string& text) { TakeSpeed(text, pace); }, "Pace: max, or 1 or 10 times real time")
      ->type_name("max|1|10")
      ->default_str("max");
  AddSampleTo(app);
  AddIntegerOption(app, "--offset", positionOffset, -100, 100, "Steps by which its monochromator is out of place");
  AddRealOption(app, "--stray-light", strayLight, 0.0, 0.1, "Share of its light that passes beside the sample");
  app.add_option("--defect", defects, fmt::format("What breaks in it after the start-up: {}", DefectNames))
      ->type_name("NAME");
  app.add_option(
         "--pump-fault", pumpFaults,
         "Fault of its pump after the start-up: KIND:LETTER[:NTH][:NAME=VALUE], keep-alive-stops, pumping, flood; "
         "\"photometer-simulator --help\" lists the kinds")
      ->type_name("FAULT");
  for (const char* name : {"--seed", "--speed", "--offset", "--stray-light", "--defect", "--pump-fault"}) {
    app.get_option(name)->group(Simulation);
  }
}

void BoardOptions::AddSampleTo(CLI::App& app) {
  app.add_option("--sample", sample, fmt::format("Sample that is inserted after the start-up: {}", common::SampleNames))
      ->type_name("NAME")
      ->default_str(sample)
      ->group(Simulation);
}

std::string BoardOptions::FilePath() const {
  if (!boardFile.empty()) {
    return boardFile;
  }
  const char* pPath = std::getenv("PHOTOMETER_BOARD");
  return pPath == nullptr || *pPath == '\0' ? "/etc/photometer/board.toml" : pPath;
}

void BoardOptions::Check() const {
  if (bSimulate && !boardFile.empty()) {
    throw CLI::ValidationError("--simulate", "does not go with --board; give one of them");
  }
  for (const std::string& defect : defects) {
    simulator::InstrumentFaults faults;
    if (!AddDefect(defect, faults)) {
      throw CLI::ValidationError("--defect", fmt::format("\"{}\" is no defect; give {}", defect, DefectNames));
    }
  }
  if (!common::FindSample(sample)) {
    throw CLI::ValidationError("--sample", fmt::format("\"{}\" is no sample; give {}", sample, common::SampleNames));
  }
  if (traceFile.empty()) {
    return;
  }
  if (const std::string complaint = ComplainAboutOutput(traceFile, bForce); !complaint.empty()) {
    throw CLI::ValidationError("--trace", complaint);
  }
}

void BoardOptions::CheckPumpFaults(std::uint32_t dwOperatingMode) const {
  simulator::Instrument instrument({}, 0, static_cast<simulator::PumpKind>(dwOperatingMode));
  for (const std::string& fault : pumpFaults) {
    if (const std::string complaint = common::AddPumpFault(fault, instrument, 0); !complaint.empty()) {
      throw CLI::ValidationError("--pump-fault", complaint);
    }
  }
}

}  // namespace host
