/// Where the results of a command go, and in which form.
#pragma once

#include <string>

#include "Command.h"
#include "Plot.h"
#include "ReportFormat.h"

namespace CLI {
class App;
}

namespace host {

class ResultOptions {
 public:
  void AddTo(CLI::App& app);
  /// For lines that are written while things happen.
  void AddFormatTo(CLI::App& app);
  /// For results that can be drawn.
  void AddPlotTo(CLI::App& app);
  /// Throws `CLI::ValidationError` for a file that must not or cannot be written.
  void Check();

  /// Throws `CLI::ValidationError` for another option's file that is one of these.
  void CheckBeside(const char* option, const std::string& path) const;

  [[nodiscard]] bool Force() const { return m_bForce; }
  [[nodiscard]] OutputFormat Format() const { return m_format; }
  /// Name of the sample that the command line gives; empty: none.
  [[nodiscard]] const std::string& Label() const { return m_strLabel; }
  [[nodiscard]] bool WantsPlot() const { return !m_strPlotFile.empty(); }

  /// Writes the results to the file, or to standard output. When the file cannot be written they go to standard output
  /// all the same, with a message. False: not written where they should be.
  bool WriteResults(const std::string& text, Console& console) const;
  /// The same for the picture.
  bool WritePlot(const Plot& plot, Console& console) const;

 private:
  void AddFormat(CLI::App& app, const std::string& help);

  OutputFormat m_format = OutputFormat::Table;
  std::string m_strFormat;
  std::string m_strOutputFile;
  std::string m_strPlotFile;
  std::string m_strLabel;
  bool m_bForce = false;
};

}  // namespace host
