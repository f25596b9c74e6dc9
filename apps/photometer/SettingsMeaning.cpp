#include "SettingsMeaning.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <variant>

#include <fmt/format.h>

#include "ReadableText.h"
#include "settings/DecimalText.h"

namespace host {

namespace {

using photometer::LONG;

constexpr double Any = std::numeric_limits<double>::max();
/// Wavelengths that the optics can reach, nm.
constexpr double Shortest = 190;
constexpr double Longest = 1100;
constexpr double Largest = std::numeric_limits<LONG>::max();

constexpr std::array Meanings = {
    SettingsMeaning{"LowerFilterWL", "lower filter change, nm", Shortest, Longest},
    SettingsMeaning{"MiddleFilterWL", "middle filter change, nm", Shortest, Longest},
    SettingsMeaning{"UpperFilterWL", "upper filter change, nm", Shortest, Longest},
    SettingsMeaning{"RefMinWL", "lower end of the reference range, nm", Shortest, Longest},
    SettingsMeaning{"RefMaxWL", "upper end of the reference range, nm", Shortest, Longest},
    SettingsMeaning{"Peak1", "first peak of the holmium oxide filter, the reference, nm", Shortest, Longest},
    SettingsMeaning{"Peak2", "second peak, nm", Shortest, Longest},
    SettingsMeaning{"Peak3", "third peak, nm", Shortest, Longest},
    SettingsMeaning{"F0", "wavelength polynomial, constant", -Any, Any},
    SettingsMeaning{"F1", "wavelength polynomial, linear", -Any, Any},
    SettingsMeaning{"F2", "wavelength polynomial, quadratic", -Any, Any},
    SettingsMeaning{"F3", "wavelength polynomial, cubic", -Any, Any},
    SettingsMeaning{"UV", "the instrument has the deuterium lamp", -Any, Any},
    SettingsMeaning{"Manufacturer", "manufacturer", -Any, Any},
    SettingsMeaning{"Model", "model", -Any, Any},
    SettingsMeaning{"SN", "serial number", -Any, Any},
    SettingsMeaning{"FA", "coefficient FA", -Any, Any},
    SettingsMeaning{"FB", "coefficient FB", -Any, Any},
    SettingsMeaning{"FC", "coefficient FC", -Any, Any},
    SettingsMeaning{"FD", "coefficient FD", -Any, Any},
    SettingsMeaning{"HalogenMin", "lower end of the halogen lamp's range, nm", Shortest, Longest},
    SettingsMeaning{"HalogenMax", "upper end of the halogen lamp's range, nm", Shortest, Longest},
    SettingsMeaning{"UVMin", "lower end of the deuterium lamp's range, nm", Shortest, Longest},
    SettingsMeaning{"UVMax", "upper end of the deuterium lamp's range, nm", Shortest, Longest},
    SettingsMeaning{"Zeros", "zero values by wavelength", Shortest, Longest},
    SettingsMeaning{"CODOffsets", "offsets of COD methods by wavelength", Shortest, Longest},
    SettingsMeaning{"NitrateOffsets", "offsets of nitrate methods by wavelength", Shortest, Longest},
    SettingsMeaning{"ZeroCalibrationDT", "last zero calibration", -Any, Any},
    SettingsMeaning{"ZeroOffsetCalibDT", "last zero offset calibration", -Any, Any},
    SettingsMeaning{"TurbHighCalibrationDT", "last high turbidity calibration", -Any, Any},
    SettingsMeaning{"TurbLowCalibrationDT", "last low turbidity calibration", -Any, Any},
    SettingsMeaning{"HalLampOffset", "offset of the halogen lamp", -Any, Any},
    SettingsMeaning{"UVLampOffset", "offset of the deuterium lamp", -Any, Any},
    SettingsMeaning{"HalLampFactor", "factor of the halogen lamp", -Any, Any},
    SettingsMeaning{"UVLampFactor", "factor of the deuterium lamp", -Any, Any},
    SettingsMeaning{"StartPoints", "start points", -Any, Any},
    SettingsMeaning{"StartPointsRef", "start points of the reference", -Any, Any},
    SettingsMeaning{"VolumeMultiplier", "volume multiplier", 0, Largest},
    SettingsMeaning{"WavelengthTest", "setting of the wavelength test", -Any, Any},
    SettingsMeaning{"DbFlashWaitTime", "wait time of the flash database", 0, Largest},
    SettingsMeaning{"TurbCalHigh", "high turbidity calibration", -Any, Any},
    SettingsMeaning{"TurbCalLow", "low turbidity calibration", -Any, Any},
    SettingsMeaning{"TurbCalRef", "turbidity reference", -Any, Any},
    SettingsMeaning{"TurbHighCalibrationDTAdjusted", "last adjusted high turbidity calibration", -Any, Any},
    SettingsMeaning{"TurbLowCalibrationDTAdjusted", "last adjusted low turbidity calibration", -Any, Any},
};

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view Blanks = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(Blanks), text.size()));
  return text.substr(0, text.find_last_not_of(Blanks) + 1);
}

/// The number that the whole text is.
template <typename Number>
std::optional<Number> WholeNumber(std::string_view text) {
  text = Trimmed(text);
  if (text.starts_with('+')) {
    text.remove_prefix(1);
  }
  Number number{};
  const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool bWhole = error == std::errc() && pEnd == text.data() + text.size() && !text.empty();
  return bWhole && std::isfinite(static_cast<double>(number)) ? std::optional(number) : std::nullopt;
}

std::string ComplainOutside(double dValue, const SettingsMeaning& meaning) {
  if (dValue >= meaning.dLowest && dValue <= meaning.dHighest) {
    return {};
  }
  if (meaning.dHighest == Largest) {
    return fmt::format("{} is out of range; give {} or more", dValue, meaning.dLowest);
  }
  return fmt::format("{} is out of range; give {} to {}", dValue, meaning.dLowest, meaning.dHighest);
}

int DaysOf(int iMonth, int iYear) {
  constexpr std::array Days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool bLeap = iYear % 4 == 0 && (iYear % 100 != 0 || iYear % 400 == 0);
  return Days.at(static_cast<std::size_t>(iMonth - 1)) + (iMonth == 2 && bLeap ? 1 : 0);
}

/// Judges a value by the kind of its key.
struct ValueJudge {
  const SettingsMeaning& meaning;
  std::string_view value;

  std::string operator()(const photometer::IntegerField& key) const {
    const std::optional<LONG> number = WholeNumber<LONG>(value);
    if (!number) {
      return fmt::format("\"{}\" is no whole number of 32 bits; write one, as {}", Shown(value), key.iDefault);
    }
    return ComplainOutside(*number, meaning);
  }
  std::string operator()(const photometer::RealField& key) const {
    const std::optional<double> number = WholeNumber<double>(value);
    if (!number) {
      return fmt::format("\"{}\" is no number; write one with a point, as {}", Shown(value),
                         photometer::FormatFixed(key.dDefault, key.iDecimals));
    }
    return ComplainOutside(*number, meaning);
  }
  std::string operator()(const photometer::FlagField&) const {
    const bool bFlag = value == "true" || value == "false";
    return bFlag ? std::string()
                 : fmt::format("\"{}\" counts as false; write true or false, in small letters", Shown(value));
  }
  std::string operator()(const photometer::TextField&) const { return {}; }
  std::string operator()(const photometer::DateTimeField&) const;
  std::string operator()(const photometer::ListField&) const;
  [[nodiscard]] std::string ComplainAboutEntry(std::string_view entry) const;
};

std::string ValueJudge::operator()(const photometer::DateTimeField&) const {
  std::array<LONG, 5> parts{};
  std::string_view rest = value;
  bool bForm = true;
  for (LONG& iPart : parts) {
    const std::size_t nEnd = &iPart == &parts.back() ? rest.size() : rest.find(';');
    bForm = bForm && nEnd != std::string_view::npos;
    const std::optional<LONG> number = bForm ? WholeNumber<LONG>(rest.substr(0, nEnd)) : std::nullopt;
    bForm = number.has_value();
    iPart = number.value_or(0);
    rest.remove_prefix(std::min(nEnd, rest.size()));
    rest.remove_prefix(rest.empty() ? 0 : 1);
  }
  const auto [iYear, iMonth, iDay, iHour, iMinute] = parts;
  const bool bDate = bForm && iYear >= 1601 && iYear <= 9999 && iMonth >= 1 && iMonth <= 12 && iDay >= 1 &&
                     iDay <= DaysOf(iMonth, iYear);
  const bool bTime = iHour >= 0 && iHour <= 23 && iMinute >= 0 && iMinute <= 59;
  return bDate && bTime
             ? std::string()
             : fmt::format("\"{}\" is no time; write year;month;day;hour;minute, as 2000;1;1;12;0", Shown(value));
}

std::string ValueJudge::operator()(const photometer::ListField&) const {
  std::string_view rest = value;
  for (int iEntry = 1; !rest.empty(); ++iEntry) {
    const std::size_t nEnd = std::min(rest.find(';'), rest.size());
    if (const std::string complaint = ComplainAboutEntry(rest.substr(0, nEnd)); !complaint.empty()) {
      return fmt::format("entry {}: {}", iEntry, complaint);
    }
    rest.remove_prefix(std::min(nEnd + 1, rest.size()));
  }
  return {};
}

std::string ValueJudge::ComplainAboutEntry(std::string_view entry) const {
  const std::size_t nComma = entry.find(',');
  const bool bPair = nComma != std::string_view::npos;
  const std::optional<double> wavelength = bPair ? WholeNumber<double>(entry.substr(0, nComma)) : std::nullopt;
  const std::optional<double> number = bPair ? WholeNumber<double>(entry.substr(nComma + 1)) : std::nullopt;
  if (!wavelength || !number) {
    return fmt::format("\"{}\" is no point; write wavelength,value with points in the numbers, as 345.0,0.000",
                       Shown(entry));
  }
  return ComplainOutside(*wavelength, meaning);
}

}  // namespace

const SettingsMeaning& MeaningOf(const photometer::SettingsKey& key) {
  return *std::find_if(Meanings.begin(), Meanings.end(),
                       [&key](const SettingsMeaning& meaning) { return meaning.key == key.name; });
}

std::string ComplainAboutValue(const photometer::SettingsKey& key, const photometer::SettingsLine& line) {
  if (line.bCut) {
    return fmt::format("the line is longer than the {} bytes that count; shorten it", photometer::SettingsLineLimit);
  }
  return std::visit(ValueJudge{MeaningOf(key), line.value}, key.field);
}

}  // namespace host
