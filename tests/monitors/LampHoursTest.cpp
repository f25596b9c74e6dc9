#include <gtest/gtest.h>

#include "monitors/LampBench.h"
#include "monitors/LampHours.h"

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
  EXPECT_EQ(world.transcript.Texts("registry"), (Texts{"HalLamp = 30", "HalLamp = 45", "UVLamp = 16"}));
  world.ExpectClean();
}

TEST(LampHours, RefusedCountChangesNothing) {
  for (const auto fault : {&LampRegistry::bNoKey, &LampRegistry::bNoValue, &LampRegistry::bWriteFails}) {
    LampBench bench;
    bench.registry.*fault = true;
    EXPECT_EQ(AddLampSeconds(DEUTERIUM_HOURS, 30), E_FAIL);
    EXPECT_EQ(bench.registry.Added(), Texts{});
    bench.registry.*fault = false;
    EXPECT_EQ(AddLampSeconds(DEUTERIUM_HOURS, 30), S_OK);
    EXPECT_EQ(bench.registry.Added(), Texts{"UVLamp +30"});
  }
}

}  // namespace
}  // namespace photometer::tests
