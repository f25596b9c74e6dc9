// Input: the instrument's settings file.
// Checks: reading gives finite numbers and leaves the wavelengths of merged lists alone; what is written is read back
// to the same bytes, and counts as complete; a file that is the writer's own is read to the same bytes.
#include <algorithm>
#include <cmath>
#include <string>

#include "photometer/Settings.h"
#include "platform/Platform.h"
#include "settings/SettingsKeys.h"
#include "support/BoardInUse.h"

namespace {

using fuzz::Require;
using photometer::InstrumentSettings;
using photometer::PointList;

constexpr const char16_t* PATH = u"\\Application\\settings.cfg";
constexpr std::size_t LIMIT = 1U << 20;

void CheckList(const PointList& list, bool bMerged) {
  for (const photometer::PointListEntry& entry : list) {
    Require(std::isfinite(entry.dWavelength) && std::isfinite(entry.dValue), "a point is finite");
  }
  Require(!bMerged || list.size() == photometer::DefaultListWavelengths().size(), "a merged list keeps its length");
}

void CheckRecord(const InstrumentSettings& settings) {
  for (const photometer::SettingsKey& key : photometer::SettingsKeys()) {
    if (const auto* pReal = std::get_if<photometer::RealField>(&key.field)) {
      Require(std::isfinite(settings.*pReal->pField), "a real is finite");
    } else if (const auto* pList = std::get_if<photometer::ListField>(&key.field)) {
      CheckList(settings.*pList->pField, pList->rule != photometer::ListRule::Replace);
    }
  }
}

/// Writes the record; the file's bytes.
std::string Written(const InstrumentSettings& settings) {
  Require(photometer::WriteSettings(&settings) == photometer::S_OK, "a record can be written");
  return photometer::platform::LoadFileW(PATH, LIMIT).value_or("");
}

void Check(std::string_view input) {
  fuzz::BoardInUse board;
  InstrumentSettings settings;
  photometer::SetDefaultSettings(&settings);
  photometer::platform::ReplaceFileW(PATH, input);
  photometer::BOOL bZerosChanged = -1;
  photometer::ReadSettings(&settings, &bZerosChanged);
  Require(bZerosChanged == photometer::TRUE || bZerosChanged == photometer::FALSE, "whether the zeros changed is told");
  CheckRecord(settings);

  const std::string first = Written(settings);
  InstrumentSettings read = settings;
  Require(photometer::ReadSettings(&read, &bZerosChanged) == photometer::S_OK, "what was written is complete");
  const std::string second = Written(read);
  fuzz::RequireEqual(second, first, "what was written is read back to the same bytes");
}

const fuzz::Target target("SettingsFile", Check);

}  // namespace
