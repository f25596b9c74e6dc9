/// A result that was written before, read back as the blank that absorbances refer to: CSV or JSON, as `--output`
/// leaves it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "MeasureReport.h"

namespace host {

class Blank {
 public:
  /// The blank, or what is wrong with the file: which one, where and what to do. A result that did not finish is none.
  static std::variant<Blank, std::string> Load(const std::string& path);
  /// The same from the file's contents; the path is for messages.
  static std::variant<Blank, std::string> Parse(const std::string& path, std::string_view contents);

  [[nodiscard]] const std::string& Path() const { return m_strPath; }
  [[nodiscard]] const std::string& Kind() const { return m_strKind; }
  [[nodiscard]] const std::string& Time() const { return m_strTime; }
  /// A setting of the run; empty when it has none of that name.
  [[nodiscard]] std::string Setting(const std::string& name) const;
  /// The mean of the readings at the wavelength nearest to this one, less than half a step of the monochromator away;
  /// nothing when there is none, or one that saw no light.
  [[nodiscard]] std::optional<DetectorPair> At(double dWavelength) const;

 private:
  struct Builder;

  std::string m_strPath;
  std::string m_strKind;
  std::string m_strTime;
  std::map<std::string, std::string> m_settings;
  /// By wavelength, nm.
  std::map<double, DetectorPair> m_values;
};

}  // namespace host
