#include <atomic>
#include <string>

#include <gtest/gtest.h>

#include "monitors/LampBench.h"
#include "monitors/LampHours.h"
#include "platform/Platform.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

constexpr const char16_t* KEY = u"\\Veltranometrik";

TEST(LampHours, AddsToTheCounterThatItIsTold) {
  World world;
  world.board.SetRegistryValue(KEY, u"UVLamp", 0xFFFFFFF0);
  EXPECT_EQ(AddLampSeconds(HALOGEN_HOURS, 30), S_OK);
  EXPECT_EQ(AddLampSeconds(HALOGEN_HOURS, 15), S_OK);
  EXPECT_EQ(AddLampSeconds(DEUTERIUM_HOURS, 0x20), S_OK);
  EXPECT_EQ(world.transcript.Texts("registry"), (Texts{"HalLamp = 30", "HalLamp = 45", "UVLamp = 16"}));
  world.ExpectClean();
}

TEST(LampHours, RefusedCountChangesNothing) {
  struct {
    const char* what;
    std::atomic<bool> LampRegistry::*fault;
    std::size_t nWrites;
  } const cases[] = {{"no key", &LampRegistry::bNoKey, 0},
                     {"no value", &LampRegistry::bNoValue, 0},
                     {"write", &LampRegistry::bWriteFails, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    World world;
    LampRegistry registry(world.board.GetRegistry());
    ForwardingBoard board(world.tracing);
    board.Replace(registry);
    SetBoard(&board);
    registry.*c.fault = true;
    EXPECT_EQ(AddLampSeconds(DEUTERIUM_HOURS, 30), E_FAIL);
    EXPECT_EQ(registry.Added().size(), c.nWrites);
    registry.*c.fault = false;
    registry.Forget();
    EXPECT_EQ(AddLampSeconds(DEUTERIUM_HOURS, 30), S_OK);
    EXPECT_EQ(registry.Added(), Texts{"UVLamp +30"});
    SetBoard(&world.tracing);
    world.ExpectClean();
  }
}

TEST(LampHours, CreatesNothing) {
  World world;
  EXPECT_EQ(AddLampSeconds(u"OtherLamp", 30), E_FAIL);
  EXPECT_EQ(AddLampSeconds(u"OtherLamp", 30), E_FAIL);
  EXPECT_EQ(world.transcript.Texts("registry"), Texts{});
  world.ExpectClean();
}

}  // namespace
}  // namespace photometer::tests
