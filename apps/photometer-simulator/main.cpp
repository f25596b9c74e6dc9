#include <unistd.h>

#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "../common/FaultText.h"
#include "../common/PumpName.h"
#include "../common/SampleName.h"
#include "BoardFolder.h"
#include "RealTimeServer.h"
#include "SimulatorPage.h"
#include "StopSignals.h"

namespace {

constexpr int BadInput = 2;
constexpr int Failed = 1;
constexpr std::uint32_t BounceMilliseconds = 8;

struct Options {
  simulator::OpticalUnitSettings unit;
  std::string folder;
  std::string sampleName = "mixture";
  std::string noise = "on";
  std::vector<std::string> faults;
  std::string pumpName = "none";
  std::vector<std::string> pumpFaults;
  std::optional<double> cuvetteAfter;
  int cuvetteSize = 10;
  double speed = 1;
  bool bNoUV = false;
  bool bCommands = false;
  bool bKeep = false;
  bool bManual = false;
};

void AddOptions(CLI::App& app, Options& options) {
  app.add_option("--folder", options.folder,
                 "Folder for board file, pins, file system and registry (default: a new one)")
      ->type_name("DIR");
  app.add_option("--sample", options.sampleName, fmt::format("Sample: {}", common::SampleNames))->type_name("NAME");
  app.add_option("--cuvette-after", options.cuvetteAfter, "Insert the sample after so long, s (default: on command)")
      ->check(CLI::Range(0.0, 1e6));
  app.add_option("--cuvette-size", options.cuvetteSize, "Size of the cuvette, mm")
      ->check(CLI::IsMember(simulator::CuvetteHolder::Sizes()));
  app.add_option("--offset", options.unit.positionOffset, "Steps by which the monochromator is out of place")
      ->check(CLI::Range(-100, 100));
  app.add_option("--stray-light", options.unit.strayLight, "Share of the light that passes beside the sample")
      ->check(CLI::Range(0.0, 0.1));
  app.add_option("--seed", options.unit.seed, "Seed of the noise");
  app.add_option("--noise", options.noise, "Noise of the detectors: on or off")->check(CLI::IsMember({"on", "off"}));
  app.add_option("--fault", options.faults,
                 "Fault of the line, KIND:LETTER[:NTH][:NAME=VALUE], as late:a:2:delay=500; see below")
      ->type_name("FAULT");
  app.add_option("--pump", options.pumpName, "Sipper pump that draws the sample")
      ->check(CLI::IsMember(common::PumpNames()));
  app.add_option("--pump-fault", options.pumpFaults,
                 "Fault of the pump, KIND:LETTER[:NTH][:NAME=VALUE], keep-alive-stops, pumping or flood; see below")
      ->type_name("FAULT");
  app.add_option("--lamp", options.unit.faults.halogenLevel, "Share of the halogen lamp's light; 0: dead")
      ->check(CLI::Range(0.0, 1.0));
  app.add_option("--speed", options.speed, "How many times faster than real the instrument is")
      ->check(CLI::Range(serving::RealTimeServer::SlowestSpeed, serving::RealTimeServer::HighestSpeed));
  app.add_flag("--no-uv", options.bNoUV, "An instrument without deuterium lamp");
  app.add_flag("--commands", options.bCommands, "Take commands from standard input, see below");
  app.add_flag("--keep", options.bKeep, "Leave the folder's contents when ending");
  // For the build, which makes the manual page with it.
  app.add_flag("--manual-page", options.bManual, "Print the manual page")->group("");
}

/// What is wrong with the faults; empty: the instrument has them.
std::string AddFaults(const Options& options, simulator::Instrument& instrument) {
  for (const std::string& text : options.faults) {
    const auto fault = common::ParseFault(text);
    if (const auto* pComplaint = std::get_if<std::string>(&fault)) {
      return "--fault: " + *pComplaint;
    }
    instrument.unit.WireFaults().Add(std::get<simulator::Fault>(fault));
  }
  for (const std::string& text : options.pumpFaults) {
    if (const std::string complaint = common::AddPumpFault(text, instrument, 0); !complaint.empty()) {
      return "--pump-fault: " + complaint;
    }
  }
  return {};
}

int Complain(const std::string& text) {
  std::cerr << "photometer-simulator: " << text
            << "\nNothing was started. \"photometer-simulator --help\" tells what is possible.\n";
  return BadInput;
}

int Serve(const Options& options, simulator::Instrument& instrument, const simulator::Sample& sample) {
  const serving::StopSignals signals;
  serving::Lines lines;
  serving::BoardFolder folder(options.folder, {lines.external.Path(), lines.optical.Path(), lines.sipper.Path()});
  serving::RealTimeServer server(instrument, lines, folder, options.speed);
  server.SetSample(sample);
  if (options.bKeep) {
    folder.Keep();
  }
  if (options.cuvetteAfter) {
    server.Insert(options.cuvetteSize, sample, static_cast<simulator::Time>(*options.cuvetteAfter * 1e6));
  }
  if (options.bCommands) {
    server.TakeCommandsFrom(STDIN_FILENO);
  }
  std::cout << "board: " << folder.BoardFile().string() << "\nport: " << lines.optical.Path()
            << "\nexternal-port: " << lines.external.Path() << "\nsipper-port: " << lines.sipper.Path()
            << "\nfolder: " << folder.Folder().string() << "\nUse it with: photometer measure --board "
            << folder.BoardFile().string() << " --wavelengths 436,525"
            << (instrument.pump == simulator::PumpKind::None ? "" : " --pump " + options.pumpName)
            << "\nCtrl-C ends it.\n"
            << std::flush;
  server.Serve(signals);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Serves a simulated photometer on pseudo-terminals in real time", "photometer-simulator");
  Options options;
  AddOptions(app, options);
  app.footer(serving::SimulatorHelp());
  try {
    app.parse(argc, argv);
    if (options.bManual) {
      std::cout << serving::SimulatorPage(app);
      return 0;
    }
    const std::optional<simulator::Sample> sample = common::FindSample(options.sampleName);
    if (!sample) {
      return Complain(fmt::format("--sample: \"{}\" is none; give {}", options.sampleName, common::SampleNames));
    }
    options.unit.bUV = !options.bNoUV;
    options.unit.noiseLevel = options.noise == "on" ? 1.0 : 0.0;
    simulator::Instrument instrument(options.unit, BounceMilliseconds, common::FindPump(options.pumpName));
    if (const std::string complaint = AddFaults(options, instrument); !complaint.empty()) {
      return Complain(complaint);
    }
    return Serve(options, instrument, *sample);
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return 0;
  } catch (const CLI::Error& error) {
    return Complain(error.what());
  } catch (const std::exception& error) {
    std::cerr << "photometer-simulator: " << error.what() << "\n";
    return Failed;
  }
}
