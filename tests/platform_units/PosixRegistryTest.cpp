#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/posix/PosixRegistry.h"
#include "support/TemporaryFolder.h"

namespace photometer::platform {
namespace {

using tests::TemporaryFolder;

constexpr const char16_t* Key = u"\\Veltranometrik";

class PosixRegistryTest : public testing::Test {
 protected:
  PosixRegistryTest() : m_registry(m_folder.At("registry.txt")) {}

  TemporaryFolder m_folder;
  PosixRegistry m_registry;
};

TEST_F(PosixRegistryTest, SetUpMakesBothCountersAndNeverTouchesAFile) {
  EXPECT_EQ(m_registry.OpenKey(Key), 0U);
  EXPECT_TRUE(m_registry.CreateIfAbsent());
  const HANDLE key = m_registry.OpenKey(Key);
  ASSERT_NE(key, 0U);
  EXPECT_EQ(m_registry.QueryValue(key, u"HalLamp"), 0U);
  EXPECT_EQ(m_registry.QueryValue(key, u"UVLamp"), 0U);

  m_folder.Write("registry.txt", "damaged");
  EXPECT_TRUE(m_registry.CreateIfAbsent());
  EXPECT_EQ(m_folder.Read("registry.txt"), "damaged");
  EXPECT_FALSE(PosixRegistry(m_folder.At("absent/registry.txt")).CreateIfAbsent());
}

TEST_F(PosixRegistryTest, ChangesOneValueAndKeepsTheRest) {
  m_folder.Write("registry.txt",
                 "# mine\n[\\Other]\n Hours = 7 \n\n[\\Veltranometrik]\r\nHalLamp=4294967265\nUVLamp=2");
  const HANDLE key = m_registry.OpenKey(Key);
  EXPECT_EQ(m_registry.QueryValue(key, u"HalLamp"), 4294967265U);
  EXPECT_FALSE(m_registry.QueryValue(key, u"Hours").has_value());
  EXPECT_TRUE(m_registry.SetValue(key, u"HalLamp", 4294967295U));
  const HANDLE other = m_registry.OpenKey(u"\\Other");
  EXPECT_TRUE(m_registry.SetValue(other, u"Days", 1));
  EXPECT_EQ(m_folder.Read("registry.txt"),
            "# mine\n[\\Other]\n Hours = 7 \nDays=1\n\n[\\Veltranometrik]\r\nHalLamp=4294967295\nUVLamp=2\n");
  EXPECT_FALSE(m_registry.SetValue(other, u"Lines\n[\\Break]", 1));
  EXPECT_EQ(m_registry.OpenKey(u"\\veltranometrik"), 0U);
  EXPECT_THAT(m_folder.Entries("."), testing::ElementsAre("registry.txt"));
}

TEST_F(PosixRegistryTest, DamageIsMissingAndStaysAsItIs) {
  constexpr bool bWholeFile = true;
  const std::string head = "[\\Veltranometrik]\n";
  const std::pair<std::string, bool> cases[] = {
      {head + "HalLamp=12x\nUVLamp=2\n", false},
      {head + "HalLamp=4294967296\nUVLamp=2\n", false},
      {head + "HalLamp=1\nHalLamp=2\nUVLamp=2\n", false},
      {head + "HalLamp\nUVLamp=2\n", bWholeFile},
      {"HalLamp=1\n" + head + "UVLamp=2\n", bWholeFile},
      {head + "HalLamp=1\n" + head + "UVLamp=2\n", bWholeFile},
      {std::string(64, '\0'), bWholeFile},
      {"", bWholeFile},
      {head + "HalLamp=1\n" + std::string(65536, '#'), bWholeFile},
  };
  ASSERT_TRUE(m_registry.CreateIfAbsent());
  const HANDLE before = m_registry.OpenKey(Key);
  for (const auto& [text, bDamaged] : cases) {
    SCOPED_TRACE(text.substr(0, 60));
    m_folder.Write("registry.txt", text);
    EXPECT_EQ(m_registry.OpenKey(Key) == 0, bDamaged);
    EXPECT_FALSE(m_registry.QueryValue(before, u"HalLamp").has_value());
    EXPECT_FALSE(m_registry.SetValue(before, u"HalLamp", 30));
    EXPECT_EQ(m_registry.QueryValue(before, u"UVLamp").has_value(), !bDamaged);
    EXPECT_EQ(m_folder.Read("registry.txt"), text);
  }
}

}  // namespace
}  // namespace photometer::platform
