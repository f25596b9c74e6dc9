#include <gtest/gtest.h>

#include "settings/SettingsKeys.h"

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

}  // namespace
}  // namespace photometer
