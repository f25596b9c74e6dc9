#include "settings/SettingsText.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/Platform.h"
#include "settings/DecimalText.h"
#include "settings/PointListText.h"

namespace photometer {
namespace {

constexpr char PairSeparator = '=';
constexpr char DateTimeSeparator = ';';
constexpr std::string_view TrueWord = "true";
constexpr std::string_view FalseWord = "false";

/// The fields of a date-time in the order of the file.
constexpr WORD SettingsDateTime::*DateTimeParts[] = {&SettingsDateTime::wYear, &SettingsDateTime::wMonth,
                                                     &SettingsDateTime::wDay, &SettingsDateTime::wHour,
                                                     &SettingsDateTime::wMinute};

// ---- reading ----

/// Stores as many fields as the text has in their form; the others keep their values.
void ParseDateTime(std::string_view text, SettingsDateTime* pTime) {
  for (WORD SettingsDateTime::*pPart : DateTimeParts) {
    if (pPart != DateTimeParts[0]) {
      if (!text.starts_with(DateTimeSeparator)) {
        return;
      }
      text.remove_prefix(1);
    }
    const std::optional<LONG> iNumber = TakeInteger(&text);
    if (!iNumber) {
      return;
    }
    pTime->*pPart = static_cast<WORD>(std::clamp<LONG>(*iNumber, 0, 0xFFFF));
  }
}

/// Stores the value of a key in its field; true when `Zeros` were merged.
struct ValueReader {
  InstrumentSettings& settings;
  std::string_view value;
  bool bCut;

  bool operator()(const IntegerField& key) const {
    const LONG iValue = ParseInteger(value);
    settings.*key.pField = static_cast<DWORD>(iValue) > key.dwLimit ? static_cast<LONG>(key.dwLimit) : iValue;
    return false;
  }
  bool operator()(const RealField& key) const {
    settings.*key.pField = ParseReal(value);
    return false;
  }
  bool operator()(const FlagField& key) const {
    settings.*key.pField = value == TrueWord ? TRUE : FALSE;
    return false;
  }
  bool operator()(const TextField& key) const {
    settings.*key.pField = platform::MultiByteToWideChar(value);
    return false;
  }
  bool operator()(const DateTimeField& key) const {
    ParseDateTime(value, &(settings.*key.pField));
    return false;
  }
  bool operator()(const ListField& key) const {
    PointList& list = settings.*key.pField;
    PointList parsed = ParsePointList(WholeEntries());
    if (key.rule == ListRule::Replace || parsed.size() == list.size()) {
      list = std::move(parsed);
      return false;
    }
    MergePointList(&list, parsed);
    return key.rule == ListRule::MergeAndReport;
  }

  /// Half an entry would be a wrong wavelength or value.
  [[nodiscard]] std::string_view WholeEntries() const {
    return bCut ? value.substr(0, value.rfind(EntrySeparator) + 1) : value;
  }
};

// ---- writing ----

std::string FormatDateTime(const SettingsDateTime& time) {
  std::string text;
  for (const WORD SettingsDateTime::*pPart : DateTimeParts) {
    if (!text.empty()) {
      text += DateTimeSeparator;
    }
    text += std::to_string(time.*pPart);
  }
  return text;
}

/// The text of a key's value.
struct ValueWriter {
  const InstrumentSettings& settings;
  /// Bytes that the line has room for. Only texts and lists can be longer.
  std::size_t nLimit;

  std::string operator()(const IntegerField& key) const { return std::to_string(settings.*key.pField); }
  std::string operator()(const RealField& key) const { return FormatFixed(settings.*key.pField, key.iDecimals); }
  std::string operator()(const FlagField& key) const {
    return std::string(settings.*key.pField != FALSE ? TrueWord : FalseWord);
  }
  /// Ends where a reader of the file would end, so that no text can bring lines of its own into it.
  std::string operator()(const TextField& key) const {
    const std::string text = platform::WideCharToMultiByte(settings.*key.pField);
    return text.substr(0, std::min(text.find_first_of(std::string_view("\r\n\0", 3)), nLimit));
  }
  std::string operator()(const DateTimeField& key) const { return FormatDateTime(settings.*key.pField); }
  /// Cut after a whole entry: half of one would be read as a wrong point.
  std::string operator()(const ListField& key) const {
    const std::string text = FormatPointList(settings.*key.pField);
    return text.size() <= nLimit ? text : text.substr(0, text.rfind(EntrySeparator, nLimit));
  }
};

}  // namespace

SettingsLine TakeSettingsLine(std::string_view* pText) {
  const std::size_t nEnd = std::min(pText->find('\n'), pText->size());
  const std::string_view whole = pText->substr(0, nEnd);
  pText->remove_prefix(std::min(nEnd + 1, pText->size()));

  std::string_view counts = whole.substr(0, SettingsLineLimit);
  const std::size_t nZero = counts.find('\0');
  counts = counts.substr(0, nZero);
  const std::size_t nSeparator = counts.find(PairSeparator);
  if (nSeparator == std::string_view::npos) {
    return {counts, {}, false, false};
  }
  SettingsLine line{counts.substr(0, nSeparator), counts.substr(nSeparator + 1), true, false};
  const std::size_t nReturn = line.value.find('\r');
  line.value = line.value.substr(0, nReturn);
  const bool bReachesLimit = nZero == std::string_view::npos && nReturn == std::string_view::npos;
  line.bCut = bReachesLimit && whole.size() > SettingsLineLimit &&
              std::string_view("\r\0;", 3).find(whole[SettingsLineLimit]) == std::string_view::npos;
  return line;
}

const SettingsKey* FindSettingsKey(std::string_view name) {
  const auto keys = SettingsKeys();
  const auto key =
      std::find_if(keys.begin(), keys.end(), [name](const SettingsKey& entry) { return entry.name == name; });
  return key == keys.end() ? nullptr : &*key;
}

bool ReadSettingsValue(const SettingsKey& key, const SettingsLine& line, InstrumentSettings* pSettings) {
  return std::visit(ValueReader{*pSettings, line.value, line.bCut}, key.field);
}

bool ReadSettingsText(std::string_view text, InstrumentSettings* pSettings, bool* pbZerosChanged) {
  std::ptrdiff_t nCounted = 0;
  while (!text.empty()) {
    const SettingsLine line = TakeSettingsLine(&text);
    const SettingsKey* pKey = line.bPair ? FindSettingsKey(line.name) : nullptr;
    if (pKey == nullptr) {
      continue;
    }
    *pbZerosChanged = ReadSettingsValue(*pKey, line, pSettings) || *pbZerosChanged;
    nCounted += pKey->bCounted ? 1 : 0;
  }
  const auto keys = SettingsKeys();
  return nCounted == std::count_if(keys.begin(), keys.end(), [](const SettingsKey& key) { return key.bCounted; });
}

std::string FormatSettingsValue(const SettingsKey& key, const InstrumentSettings& settings) {
  return std::visit(ValueWriter{settings, SettingsLineLimit - key.name.size() - 1}, key.field);
}

std::string FormatSettingsText(const InstrumentSettings& settings) {
  std::string text;
  for (const SettingsKey& key : SettingsKeys()) {
    text.append(key.name).append(1, PairSeparator).append(FormatSettingsValue(key, settings)).append(1, '\n');
  }
  return text;
}

}  // namespace photometer
