#include "photometer/Settings.h"

#include <optional>
#include <string_view>

#include "platform/Platform.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsText.h"

namespace photometer {
namespace {

constexpr std::u16string_view FileName = u"\\settings.cfg";
/// A file of the store has some 3 KiB; the bound only keeps a foreign one from filling the memory.
constexpr std::size_t FileLimit = 16U * 1024 * 1024;

/// None while the board does not tell where the program is: settings anywhere else would be those of nobody.
std::optional<std::u16string> SettingsPath() {
  const std::u16string program = platform::GetModuleFileNameW();
  const std::size_t nDirectory = program.rfind(u'\\');
  if (nDirectory == std::u16string::npos) {
    return std::nullopt;
  }
  return program.substr(0, nDirectory).append(FileName);
}

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

/// True when the file could be read and is complete.
bool ReadFileInto(InstrumentSettings& settings, bool& bZerosChanged) {
  const std::optional<std::u16string> path = SettingsPath();
  const std::optional<std::string> content = path ? platform::LoadFileW(path->c_str(), FileLimit) : std::nullopt;
  return content && ReadSettingsText(*content, &settings, &bZerosChanged);
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
  const std::optional<std::u16string> path = SettingsPath();
  return path && platform::ReplaceFileW(path->c_str(), FormatSettingsText(*pSettings)) ? S_OK : E_FAIL;
}

}  // namespace photometer
