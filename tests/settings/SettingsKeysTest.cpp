#include <gtest/gtest.h>

#include "settings/SettingsKeys.h"
#include "support/ManualPage.h"

namespace photometer {
namespace {

/// Two keys of one field, or two exchanged ones, would read back what they wrote.
TEST(SettingsKeysTest, KeysHaveTheirFieldsInTheRecordsOrder) {
  InstrumentSettings settings;
  const void* pBefore = nullptr;
  for (const SettingsKey& key : SettingsKeys()) {
    const void* pField =
        std::visit([&settings](const auto& field) -> const void* { return &(settings.*field.pField); }, key.field);
    EXPECT_GT(pField, pBefore) << key.name;
    pBefore = pField;
  }
}

TEST(SettingsKeysTest, ManualPageDescribesEachKeyInTheFilesOrder) {
  std::vector<std::string> names;
  for (const SettingsKey& key : SettingsKeys()) {
    names.emplace_back(key.name);
  }
  EXPECT_EQ(tests::KeysOfManualPage("photometer-settings.5"), names);
}

}  // namespace
}  // namespace photometer
