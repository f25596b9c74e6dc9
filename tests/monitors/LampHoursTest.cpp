#include <gtest/gtest.h>

#include "monitors/LampHours.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

TEST(LampHours, AddsToTheCounterThatItIsTold) {
  World world;
  world.board.SetRegistryValue(u"\\Veltranometrik", u"UVLamp", 0xFFFFFFF0);
  EXPECT_EQ(AddLampSeconds(HALOGEN_HOURS, 30), S_OK);
  EXPECT_EQ(AddLampSeconds(HALOGEN_HOURS, 15), S_OK);
  EXPECT_EQ(AddLampSeconds(DEUTERIUM_HOURS, 0x20), S_OK);
  EXPECT_EQ(AddLampSeconds(u"OtherLamp", 30), E_FAIL);
  EXPECT_EQ(AddLampSeconds(u"OtherLamp", 30), E_FAIL) << "nothing is created";
  EXPECT_EQ(world.transcript.Texts("registry"),
            (std::vector<std::string>{"HalLamp = 30", "HalLamp = 45", "UVLamp = 16"}));
  world.ExpectClean();
}

}  // namespace
}  // namespace photometer::tests
