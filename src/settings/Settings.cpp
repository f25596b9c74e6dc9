#include "photometer/Settings.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "platform/Platform.h"
#include "settings/DecimalText.h"
#include "settings/PointListText.h"
#include "settings/SettingsKeys.h"

namespace photometer {
namespace {

constexpr std::u16string_view FileName = u"\\settings.cfg";
/// A file of the store has some 3 KiB; the bound only keeps a foreign one from filling the memory.
constexpr std::size_t FileLimit = 64U * 1024 * 1024;
/// Bytes of a line that count.
constexpr std::size_t LineLimit = 511;
constexpr char PairSeparator = '=';
constexpr char DateTimeSeparator = ';';
constexpr std::string_view TrueWord = "true";
constexpr std::string_view FalseWord = "false";

/// The fields of a date-time in the order of the file.
constexpr WORD SettingsDateTime::*DateTimeParts[] = {&SettingsDateTime::wYear, &SettingsDateTime::wMonth,
                                                     &SettingsDateTime::wDay, &SettingsDateTime::wHour,
                                                     &SettingsDateTime::wMinute};

std::u16string SettingsPath() {
  const std::u16string program = platform::GetModuleFileNameW();
  const std::size_t nDirectory = program.rfind(u'\\');
  std::u16string path = nDirectory == std::u16string::npos ? std::u16string() : program.substr(0, nDirectory);
  return path.append(FileName);
}

// ---- delivery values ----

PointList DefaultList(ListRule rule) {
  PointList list;
  if (rule == ListRule::Replace) {
    return list;
  }
  for (const int iWavelength : DefaultListWavelengths()) {
    list.push_back({static_cast<double>(iWavelength), 0});
  }
  return list;
}

/// Sets the field of a key to its delivery value.
struct DefaultSetter {
  InstrumentSettings& settings;

  void operator()(const IntegerField& key) const { settings.*key.pField = key.iDefault; }
  void operator()(const RealField& key) const { settings.*key.pField = key.dDefault; }
  void operator()(const FlagField& key) const { settings.*key.pField = key.bDefault; }
  void operator()(const TextField& key) const { settings.*key.pField = key.defaultText; }
  void operator()(const DateTimeField& key) const { settings.*key.pField = key.defaultTime; }
  void operator()(const ListField& key) const { settings.*key.pField = DefaultList(key.rule); }
};

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

/// Stores the value of a key in its field.
struct ValueReader {
  InstrumentSettings& settings;
  std::string_view value;
  bool& bZerosChanged;

  void operator()(const IntegerField& key) const {
    const LONG iValue = ParseInteger(value);
    settings.*key.pField = static_cast<DWORD>(iValue) > key.dwLimit ? static_cast<LONG>(key.dwLimit) : iValue;
  }
  void operator()(const RealField& key) const { settings.*key.pField = ParseReal(value); }
  void operator()(const FlagField& key) const { settings.*key.pField = value == TrueWord ? TRUE : FALSE; }
  void operator()(const TextField& key) const { settings.*key.pField = platform::MultiByteToWideChar(value); }
  void operator()(const DateTimeField& key) const { ParseDateTime(value, &(settings.*key.pField)); }
  void operator()(const ListField& key) const {
    PointList& list = settings.*key.pField;
    PointList parsed = ParsePointList(value);
    if (key.rule == ListRule::Replace || parsed.size() == list.size()) {
      list = std::move(parsed);
      return;
    }
    MergePointList(&list, parsed);
    if (key.rule == ListRule::MergeAndReport) {
      bZerosChanged = true;
    }
  }
};

/// Takes the next line from the text: without its end, and what counts of it.
std::string_view TakeLine(std::string_view* pText) {
  const std::size_t nEnd = std::min(pText->find('\n'), pText->size());
  std::string_view line = pText->substr(0, std::min(nEnd, LineLimit));
  pText->remove_prefix(std::min(nEnd + 1, pText->size()));
  return line.substr(0, line.find('\0'));
}

/// Reads one line into the record; true when its key counts.
bool ReadLine(std::string_view line, InstrumentSettings& settings, bool& bZerosChanged) {
  const std::size_t nSeparator = line.find(PairSeparator);
  if (nSeparator == std::string_view::npos) {
    return false;
  }
  const std::string_view name = line.substr(0, nSeparator);
  std::string_view value = line.substr(nSeparator + 1);
  value = value.substr(0, value.find('\r'));

  const auto keys = SettingsKeys();
  const auto key =
      std::find_if(keys.begin(), keys.end(), [name](const SettingsKey& entry) { return entry.name == name; });
  if (key == keys.end()) {
    return false;
  }
  std::visit(ValueReader{settings, value, bZerosChanged}, key->field);
  return key->bCounted;
}

/// True when the file could be read and had as many counted keys as there are.
bool ReadFileInto(InstrumentSettings& settings, bool& bZerosChanged) {
  const std::u16string path = SettingsPath();
  const std::optional<std::string> content = platform::LoadFileW(path.c_str(), FileLimit);
  if (!content) {
    return false;
  }

  std::ptrdiff_t nCounted = 0;
  for (std::string_view text = *content; !text.empty();) {
    if (ReadLine(TakeLine(&text), settings, bZerosChanged)) {
      ++nCounted;
    }
  }
  const auto keys = SettingsKeys();
  return nCounted == std::count_if(keys.begin(), keys.end(), [](const SettingsKey& key) { return key.bCounted; });
}

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

  std::string operator()(const IntegerField& key) const { return std::to_string(settings.*key.pField); }
  std::string operator()(const RealField& key) const { return FormatFixed(settings.*key.pField, key.iDecimals); }
  std::string operator()(const FlagField& key) const {
    return std::string(settings.*key.pField != FALSE ? TrueWord : FalseWord);
  }
  /// Ends where a reader of the file would end, so that no text can bring lines of its own into it.
  std::string operator()(const TextField& key) const {
    const std::string text = platform::WideCharToMultiByte(settings.*key.pField);
    return text.substr(0, text.find_first_of(std::string_view("\r\n\0", 3)));
  }
  std::string operator()(const DateTimeField& key) const { return FormatDateTime(settings.*key.pField); }
  std::string operator()(const ListField& key) const { return FormatPointList(settings.*key.pField); }
};

std::string FormatSettings(const InstrumentSettings& settings) {
  std::string content;
  for (const SettingsKey& key : SettingsKeys()) {
    content.append(key.name).append(1, PairSeparator).append(std::visit(ValueWriter{settings}, key.field));
    content += '\n';
  }
  return content;
}

}  // namespace

HRESULT SetDefaultSettings(InstrumentSettings* pSettings) {
  if (pSettings == nullptr) {
    return E_FAIL;
  }
  for (const SettingsKey& key : SettingsKeys()) {
    std::visit(DefaultSetter{*pSettings}, key.field);
  }
  return S_OK;
}

HRESULT ReadSettings(InstrumentSettings* pSettings, BOOL* pbZerosChanged) {
  bool bZerosChanged = false;
  const bool bComplete = pSettings != nullptr && ReadFileInto(*pSettings, bZerosChanged);
  if (pbZerosChanged != nullptr) {
    *pbZerosChanged = bZerosChanged ? TRUE : FALSE;
  }
  if (bComplete) {
    return S_OK;
  }
  platform::NKDbgPrintfW("[Tools] Missing parameter in file 'settings.cfg'.\n\r");
  return E_FAIL;
}

HRESULT WriteSettings(const InstrumentSettings* pSettings) {
  if (pSettings == nullptr) {
    return E_FAIL;
  }
  return platform::ReplaceFileW(SettingsPath().c_str(), FormatSettings(*pSettings)) ? S_OK : E_FAIL;
}

}  // namespace photometer
