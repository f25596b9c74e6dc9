/// A picture of results: a curve over an axis, with marks, drawn by gnuplot as SVG.
#pragma once

#include <string>
#include <vector>

namespace host {

struct PlotPoint {
  double x = 0;
  double y = 0;
};

/// A point of the picture with a word to it.
struct PlotMark {
  double x = 0;
  double y = 0;
  std::string strLabel;
};

/// Curve: a line. Series: few points with lines between them. Bars: single points on stems.
enum class PlotStyle { Curve, Series, Bars };

struct Plot {
  std::string strTitle;
  /// Second line of the title: sample, date, instrument.
  std::string strSubtitle;
  /// With units.
  std::string strAxisX;
  std::string strAxisY;
  /// In the legend.
  std::string strCurve;
  /// In the order of x.
  std::vector<PlotPoint> points;
  PlotStyle style = PlotStyle::Curve;
  /// Peaks that were expected, as dashed lines at their x, and peaks that were found, as circles.
  std::vector<PlotMark> expected;
  std::vector<PlotMark> found;
};

/// What gnuplot is told; it writes the SVG to its standard output.
std::string PlotScript(const Plot& plot);

/// Whether gnuplot is installed.
bool CanPlot();

/// What a person can do where it is not.
inline constexpr const char* PlotAdvice = "gnuplot is not installed; install the package gnuplot-nox";

/// The SVG, or what went wrong.
struct Drawing {
  std::string strSvg;
  std::string strComplaint;
};
Drawing Draw(const Plot& plot);

}  // namespace host
