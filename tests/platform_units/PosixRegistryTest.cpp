#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TemporaryFolder.h"
#include "platform/posix/PosixRegistry.h"

namespace photometer::platform {
namespace {

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
  EXPECT_THAT(m_folder.Entries("."), testing::ElementsAre("registry.txt"));
}

TEST_F(PosixRegistryTest, KeysThatAreClosedOrForeignNameNothing) {
  ASSERT_TRUE(m_registry.CreateIfAbsent());
  const HANDLE key = m_registry.OpenKey(Key);
  EXPECT_TRUE(m_registry.CloseKey(key));
  EXPECT_FALSE(m_registry.CloseKey(key));
  for (const HANDLE wrong : {key, HANDLE{0}, INVALID_HANDLE_VALUE, NewHandle(HandleKind::RegistryKey)}) {
    EXPECT_FALSE(m_registry.QueryValue(wrong, u"HalLamp").has_value());
    EXPECT_FALSE(m_registry.SetValue(wrong, u"HalLamp", 1));
  }
  EXPECT_EQ(m_registry.OpenKey(u"\\veltranometrik"), 0U);
}

TEST_F(PosixRegistryTest, DamageIsMissingAndStaysAsItIs) {
  const struct {
    const char* what;
    std::string text;
    bool bKey;
    bool bOtherValue;
  } cases[] = {
      {"no number", "[\\Veltranometrik]\nHalLamp=12x\nUVLamp=2\n", true, true},
      {"empty", "[\\Veltranometrik]\nHalLamp=\nUVLamp=2\n", true, true},
      {"negative", "[\\Veltranometrik]\nHalLamp=-1\nUVLamp=2\n", true, true},
      {"33 bits", "[\\Veltranometrik]\nHalLamp=4294967296\nUVLamp=2\n", true, true},
      {"text", "[\\Veltranometrik]\nHalLamp=\"12\"\nUVLamp=2\n", true, true},
      {"twice", "[\\Veltranometrik]\nHalLamp=1\nHalLamp=2\nUVLamp=2\n", true, true},
      {"no value", "[\\Veltranometrik]\nHalLamp\nUVLamp=2\n", false, false},
      {"no key", "HalLamp=1\n[\\Veltranometrik]\nUVLamp=2\n", false, false},
      {"key twice", "[\\Veltranometrik]\nHalLamp=1\n[\\Veltranometrik]\nUVLamp=2\n", false, false},
      {"zeros", std::string(64, '\0'), false, false},
      {"cut", "[\\Veltranom", false, false},
      {"empty file", "", false, false},
      {"too long", "[\\Veltranometrik]\nHalLamp=1\n" + std::string(65536, '#'), false, false},
  };
  ASSERT_TRUE(m_registry.CreateIfAbsent());
  const HANDLE before = m_registry.OpenKey(Key);
  for (const auto& test : cases) {
    m_folder.Write("registry.txt", test.text);
    EXPECT_EQ(m_registry.OpenKey(Key) != 0, test.bKey) << test.what;
    EXPECT_FALSE(m_registry.QueryValue(before, u"HalLamp").has_value()) << test.what;
    EXPECT_FALSE(m_registry.SetValue(before, u"HalLamp", 30)) << test.what;
    EXPECT_EQ(m_registry.QueryValue(before, u"UVLamp").has_value(), test.bOtherValue) << test.what;
    EXPECT_EQ(m_folder.Read("registry.txt"), test.text) << test.what;
  }
}

}  // namespace
}  // namespace photometer::platform
