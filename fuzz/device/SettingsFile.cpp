// Input: the instrument's settings file.
// Checks: reading gives finite numbers and leaves the wavelengths of merged lists alone; what is written counts as
// complete, and is read back to the same bytes. Of an entry of a list with more digits than the 31 characters that it
// has in the file, the first are written, nines may be read back as a number with one digit more, and what is then
// written stays.
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

/// No entry of a list loses digits in the file.
bool FitsFile(const InstrumentSettings& settings) {
  constexpr double MOST = 1e9;
  return std::ranges::all_of(photometer::SettingsKeys(), [&](const photometer::SettingsKey& key) {
    const auto* pList = std::get_if<photometer::ListField>(&key.field);
    return pList == nullptr ||
           std::ranges::all_of(settings.*pList->pField, [](const photometer::PointListEntry& entry) {
             return std::abs(entry.dWavelength) < MOST && std::abs(entry.dValue) < MOST;
           });
  });
}

/// Writes the record; the file's bytes.
std::string Written(const InstrumentSettings& settings) {
  Require(photometer::WriteSettings(&settings) == photometer::S_OK, "a record can be written");
  return photometer::platform::LoadFileW(PATH, LIMIT).value_or("");
}

/// Reads the file and writes what it holds; the file's bytes.
std::string WrittenAgain(InstrumentSettings settings) {
  photometer::BOOL bZerosChanged = -1;
  Require(photometer::ReadSettings(&settings, &bZerosChanged) == photometer::S_OK, "what was written is complete");
  return Written(settings);
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
  const std::string second = WrittenAgain(settings);
  if (FitsFile(settings)) {
    fuzz::RequireEqual(second, first, "what was written is read back to the same bytes");
  }
  const std::string third = WrittenAgain(settings);
  fuzz::RequireEqual(WrittenAgain(settings), third, "what was read back is written to the same bytes");
}

const fuzz::Target target("SettingsFile", Check);

}  // namespace
