#include <unistd.h>

#include <exception>
#include <iostream>

#include "CommandLine.h"

int main(int argc, char** argv) {
  // A signal may come as late as during the process's end.
  static host::Interrupt interrupt;
  host::RaiseOnSignals(interrupt);
  host::StandardInput input;
  host::Console console{std::cout, std::cerr, isatty(STDERR_FILENO) == 1, interrupt, nullptr, &input};
  try {
    return static_cast<int>(host::RunCommandLine({argv + 1, argv + argc}, console));
  } catch (const std::exception& error) {
    std::cerr << "photometer: internal fault: " << error.what() << "\n";
    return static_cast<int>(host::ExitCode::InternalFault);
  }
}
