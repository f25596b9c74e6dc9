#include "Plot.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <fmt/format.h>

extern char** environ;

namespace host {

namespace {

constexpr const char* Program = "gnuplot";

/// A gnuplot text in which nothing has a meaning of its own.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char character : text) {
    if (static_cast<unsigned char>(character) >= ' ') {
      quoted += character == '\'' ? "''" : std::string(1, character);
    }
  }
  return quoted + "'";
}

constexpr const char* ExpectedColour = "#c03020";
constexpr const char* FoundColour = "#207030";

/// Lines over the whole height, their words above one another so that neighbours stay legible.
std::string ExpectedCommands(const std::vector<PlotMark>& marks) {
  std::string commands;
  for (std::size_t i = 0; i < marks.size(); ++i) {
    commands += fmt::format(
        "set arrow from first {0}, graph 0 to first {0}, graph 1 nohead dashtype 2 lc rgb '{1}' lw 1.2\n"
        "set label {3} at first {0}, graph {2} offset 0.5,0 left noenhanced tc rgb '{1}' font ',12'\n",
        marks[i].x, ExpectedColour, 0.98 - 0.05 * static_cast<double>(i % 2), Quoted(marks[i].strLabel));
  }
  return commands;
}

std::string FoundCommands(const std::vector<PlotMark>& marks) {
  std::string commands;
  for (const PlotMark& mark : marks) {
    commands += fmt::format("set label {} at first {}, first {} offset 1,0.3 left noenhanced tc rgb '{}' font ',12'\n",
                            Quoted(mark.strLabel), mark.x, mark.y, FoundColour);
  }
  return commands;
}

const char* StyleWords(PlotStyle style) {
  switch (style) {
    case PlotStyle::Series:
      return "linespoints pt 7 ps 0.5 lw 1.8";
    case PlotStyle::Bars:
      return "impulses lw 3";
    case PlotStyle::Curve:
      break;
  }
  return "lines lw 1.8";
}

template <typename Point>
std::string DataBlock(const char* name, const std::vector<Point>& points) {
  std::string block = fmt::format("${} << END_OF_POINTS\n", name);
  for (const Point& point : points) {
    block += fmt::format("{} {}\n", point.x, point.y);
  }
  return block + "END_OF_POINTS\n";
}

/// An empty file that is gone when it is closed.
using TemporaryFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

TemporaryFile MakeTemporary() { return {std::tmpfile(), &std::fclose}; }

std::string Contents(std::FILE* pFile) {
  std::rewind(pFile);
  std::string text;
  std::array<char, 65536> buffer{};
  while (const std::size_t nRead = std::fread(buffer.data(), 1, buffer.size(), pFile)) {
    text.append(buffer.data(), nRead);
  }
  return text;
}

/// Runs gnuplot on three files; its exit code, or −1.
int RunGnuplot(std::FILE* pInput, std::FILE* pOutput, std::FILE* pErrors) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  std::FILE* const files[] = {pInput, pOutput, pErrors};
  for (int i = 0; i < 3; ++i) {
    posix_spawn_file_actions_adddup2(&actions, fileno(files[i]), i);
  }
  std::string name = Program;
  std::array<char*, 2> arguments{name.data(), nullptr};
  pid_t child = -1;
  const int iResult = posix_spawnp(&child, Program, &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (iResult != 0) {
    return -1;
  }
  int iStatus = 0;
  while (waitpid(child, &iStatus, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -1;
}

}  // namespace

std::string PlotScript(const Plot& plot) {
  std::string script =
      "set encoding utf8\n"
      "set terminal svg size 1000,620 dynamic background rgb 'white' font 'Liberation "
      "Sans,Helvetica,Arial,sans-serif,14'\n"
      "set border 3 lw 1.2 lc rgb '#404040'\n"
      "set tics nomirror out\n"
      "set mxtics 5\n"
      "set mytics 2\n"
      "set grid xtics ytics lt 1 lw 0.7 lc rgb '#d8d8d8'\n"
      "set key noenhanced outside bottom center horizontal maxrows 1\n"
      "set xzeroaxis lt 1 lw 1 lc rgb '#808080'\n";
  script += fmt::format("set title {} . \"\\n\" . {} noenhanced font ',17'\n", Quoted(plot.strTitle),
                        Quoted(plot.strSubtitle));
  script +=
      fmt::format("set xlabel {} noenhanced\nset ylabel {} noenhanced\n", Quoted(plot.strAxisX), Quoted(plot.strAxisY));
  const bool bCurve = plot.style == PlotStyle::Curve;
  // The curve from edge to edge; room above it for words.
  script += fmt::format("set offsets graph {0}, graph {0}, graph {1}, graph 0.04\n{2}", bCurve ? 0 : 0.06,
                        plot.expected.empty() ? 0.05 : 0.16, bCurve ? "set autoscale xfix\n" : "");
  script += ExpectedCommands(plot.expected) + FoundCommands(plot.found);
  script += DataBlock("points", plot.points) + DataBlock("found", plot.found);
  const bool bLegend = !plot.expected.empty() || !plot.found.empty();
  script += fmt::format("set bmargin {}\n", bLegend ? 6 : 4);
  script += fmt::format("plot $points with {} lc rgb '#1f5fa8' {}", StyleWords(plot.style),
                        bLegend ? "title " + Quoted(plot.strCurve) : "notitle");
  if (!plot.found.empty()) {
    script += fmt::format(", $found with points pt 6 ps 1.2 lw 2 lc rgb '{}' title 'found peak'", FoundColour);
  }
  if (!plot.expected.empty()) {
    script += fmt::format(", NaN with lines lw 1.2 dashtype 2 lc rgb '{}' title 'nominal peak'", ExpectedColour);
  }
  return script + "\n";
}

bool CanPlot() {
  const char* pPath = std::getenv("PATH");
  const std::string path = pPath == nullptr ? "" : pPath;
  for (std::size_t nStart = 0; nStart <= path.size();) {
    const std::size_t nEnd = std::min(path.find(':', nStart), path.size());
    if (access((path.substr(nStart, nEnd - nStart) + "/" + Program).c_str(), X_OK) == 0) {
      return true;
    }
    nStart = nEnd + 1;
  }
  return false;
}

Drawing Draw(const Plot& plot) {
  const TemporaryFile input = MakeTemporary();
  const TemporaryFile output = MakeTemporary();
  const TemporaryFile errors = MakeTemporary();
  const std::string script = PlotScript(plot);
  if (!input || !output || !errors || std::fwrite(script.data(), 1, script.size(), input.get()) != script.size() ||
      std::fflush(input.get()) != 0) {
    return {{}, "there is no room for temporary files"};
  }
  std::rewind(input.get());
  const int iCode = RunGnuplot(input.get(), output.get(), errors.get());
  std::string svg = Contents(output.get());
  if (iCode != 0 || svg.find("</svg>") == std::string::npos) {
    return {{}, CanPlot() ? "gnuplot failed: " + Contents(errors.get()) : PlotAdvice};
  }
  return {std::move(svg), {}};
}

}  // namespace host
