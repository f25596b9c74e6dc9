#include "ResultOptions.h"

#include <map>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "OutputFile.h"

namespace host {

namespace {

constexpr const char* Group = "Results";

const std::map<std::string, OutputFormat> FormatNames = {
    {"table", OutputFormat::Table}, {"csv", OutputFormat::Csv}, {"json", OutputFormat::Json}};

void CheckFile(const char* option, const std::string& path, bool bForce) {
  if (path.empty()) {
    return;
  }
  if (const std::string complaint = ComplainAboutOutput(path, bForce); !complaint.empty()) {
    throw CLI::ValidationError(option, complaint);
  }
}

}  // namespace

void ResultOptions::AddTo(CLI::App& app) {
  AddFormat(app, "Form of the results (default: by the output file's ending, else table)");
  app.add_option("--output", m_strOutputFile, "Write the results to a file, whole or not at all")->type_name("FILE");
  app.add_flag("--force", m_bForce, "Replace files that are there already");
  app.add_option("--label", m_strLabel, "Name of the sample in results and pictures")->type_name("TEXT");
  for (const char* name : {"--output", "--force", "--label"}) {
    app.get_option(name)->group(Group);
  }
}

void ResultOptions::AddFormatTo(CLI::App& app) {
  AddFormat(app, "Form of the lines, which are written as they come (default: table)");
}

void ResultOptions::AddFormat(CLI::App& app, const std::string& help) {
  app.add_option("--format", m_strFormat, help)
      ->check(CLI::IsMember(FormatNames).description(""))
      ->type_name("table|csv|json")
      ->group(Group);
}

void ResultOptions::AddPlotTo(CLI::App& app) {
  app.add_option("--plot", m_strPlotFile, "Draw the results into an SVG picture (with gnuplot)")
      ->type_name("FILE.svg")
      ->group(Group);
}

void ResultOptions::Check() {
  if (!m_strFormat.empty()) {
    m_format = FormatNames.at(m_strFormat);
  } else if (m_strOutputFile.ends_with(".csv") || m_strOutputFile.ends_with(".json")) {
    m_format = m_strOutputFile.ends_with(".csv") ? OutputFormat::Csv : OutputFormat::Json;
  }
  CheckFile("--output", m_strOutputFile, m_bForce);
  CheckFile("--plot", m_strPlotFile, m_bForce);
  if (m_strPlotFile.empty()) {
    return;
  }
  if (!m_strPlotFile.ends_with(".svg")) {
    throw CLI::ValidationError("--plot",
                               fmt::format("\"{}\" cannot be used; give a name that ends in .svg", m_strPlotFile));
  }
  if (m_strPlotFile == m_strOutputFile) {
    throw CLI::ValidationError("--plot", "is the file of --output too; give another name");
  }
  if (!CanPlot()) {
    throw CLI::ValidationError("--plot", PlotAdvice);
  }
}

void ResultOptions::CheckBeside(const char* option, const std::string& path) const {
  if (!path.empty() && (path == m_strOutputFile || path == m_strPlotFile)) {
    throw CLI::ValidationError(option, "is the file of another option too; give another name");
  }
}

bool ResultOptions::WriteResults(const std::string& text, Console& console) const {
  if (m_strOutputFile.empty()) {
    console.results << text << std::flush;
    if (!console.results) {
      console.messages << "the results could not be written: is the disk full?\n";
    }
    return console.results.good();
  }
  if (const std::string complaint = WriteOutput(m_strOutputFile, text, m_bForce); !complaint.empty()) {
    console.messages << "--output: " << complaint << "\nThe results go to standard output instead.\n";
    console.results << text << std::flush;
    return false;
  }
  console.messages << "results: " << m_strOutputFile << "\n";
  return true;
}

bool ResultOptions::WritePlot(const Plot& plot, Console& console) const {
  Drawing drawing = Draw(plot);
  if (drawing.strComplaint.empty()) {
    drawing.strComplaint = WriteOutput(m_strPlotFile, drawing.strSvg, m_bForce);
  }
  if (!drawing.strComplaint.empty()) {
    console.messages << "--plot: " << drawing.strComplaint << "\n";
    return false;
  }
  console.messages << "picture: " << m_strPlotFile << "\n";
  return true;
}

}  // namespace host
