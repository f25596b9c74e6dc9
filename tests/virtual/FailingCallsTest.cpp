// Every call site of a small program fails in its turn; the site that is never reached is told; and what the compiler
// says of the library's call sites agrees with what the scan finds in its sources.
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OnVirtualBoard.h"
#include "TinyProgram.h"
#include "platform/virtual/CallSiteScan.h"
#include "support/World.h"

namespace virtualtest {
namespace {

using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* Program = "tests/virtual/TinyProgram.h";

struct ProgramRun {
  std::string failed;
  bool bLeaks;
  std::uint64_t nPoints;
};

ProgramRun RunProgram() {
  OnVirtualBoard world;
  ScriptedDevice device;
  world.board.PlugPort(u"COM2:", device);
  const std::string failed = RunTinyProgram(false);
  return {failed, !world.board.Leftovers().empty(), world.board.Points()};
}

TEST(FailingCallsTest, EachSiteFailsInItsTurnAndThePlantedLeakIsFound) {
  FailingCalls failing;
  RunProgram();
  EXPECT_THAT(failing.Reached(), IsEmpty()) << "no folder of it was named";
  failing.SetFolder(Program);
  const std::uint64_t nPoints = RunProgram().nPoints;
  std::string failures;
  for (const ReachedSite& site : failing.Reached()) {
    for (std::uint64_t nCall = 1; nCall <= site.nCalls; ++nCall) {
      failing.Restart();
      failing.Fail(site.name, nCall, HowOften::Once);
      const ProgramRun run = RunProgram();
      EXPECT_EQ(failing.Failed(), 1U);
      failures += run.failed + std::to_string(nCall) + ' ';
      EXPECT_EQ(run.bLeaks, site.name.call == LayerCall::WriteFile) << ToText(site.name);
    }
  }
  EXPECT_EQ(failures, "event1 port1 write1 write2 ");
  failing.Restart();
  EXPECT_EQ(RunProgram().failed, "");
  EXPECT_EQ(failing.Reached().back().nCalls, 2U);
  EXPECT_EQ(failing.Failed(), 0U);
  EXPECT_EQ(RunProgram().nPoints, nPoints);
}

TEST(FailingCallsTest, OneThatFailsForEverStaysASchedulingPoint) {
  FailingCalls failing;
  failing.SetFolder("tests/");
  const auto points = [&failing](bool bFails) {
    OnVirtualBoard world;
    failing.Restart();
    for (int i = 0; i < 10; ++i) {
      if (WaitForSingleObject(0x1000, 0) == WAIT_FAILED && bFails) {
        failing.Fail(failing.Reached().front().name, 1, HowOften::Always);
      }
    }
    return world.board.Points();
  };
  EXPECT_EQ(points(true), points(false));
  points(true);
  EXPECT_EQ(failing.Failed(), 9U);
}

TEST(CallSiteScanTest, TellsTheSiteThatIsNeverReached) {
  FailingCalls failing;
  failing.SetFolder(Program);
  RunProgram();
  std::ifstream stream(std::string(PHOTOMETER_SOURCE_FOLDER) + '/' + Program, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(stream), {});
  const std::vector<SiteName> all = CallSitesIn(text, Program);
  const auto call = [](LayerCall expected) { return Field(&SiteName::call, expected); };
  EXPECT_THAT(all, ElementsAre(call(LayerCall::CreateEventW), call(LayerCall::CreateFileW), call(LayerCall::PurgeComm),
                               call(LayerCall::WriteFile)));
  const std::vector<SiteName> never = NeverReached(all, failing.Reached());
  ASSERT_THAT(never, ElementsAre(call(LayerCall::PurgeComm)));
  EXPECT_THAT(ToText(never.front()), HasSubstr("tests/virtual/TinyProgram.h:"));
  EXPECT_EQ(ParseSite(ToText(never.front())), never.front());
  for (const char* bad : {"", "x", "x.cpp:1", "x.cpp WriteFile", "x.cpp:1 Write", "x.cpp:1a WriteFile"}) {
    EXPECT_EQ(ParseSite(bad), std::nullopt) << bad;
  }
}

TEST(CallSiteScanTest, PassesOverWhatIsNoCall) {
  constexpr const char* Text =
      "// SetEvent(1)\n"
      "/* SetEvent(\n2) */ const char* p = \"\\\"SetEvent(3)\"; char c = '\"'; int n = 1'000;\n"
      "HANDLE CreateFileW(const char16_t* name);\n"
      "void Link::ReadFile() { m_port.ReadFile(4); m_pPort->ReadFile(5); }\n"
      "BOOL bSet = a && SetEvent(6); return platform::WriteFile(\n7); X(&SetEvent, MySetEvent(8));\n"
      "{ ResetEvent(9); } else WaitForSingleObject(10, 0); return GetFileAttributesW(u\"x\");\n";
  std::string found;
  for (const SiteName& site : CallSitesIn(Text, "x")) {
    found += ToText(site) + '\n';
  }
  EXPECT_EQ(found, "x:6 EventModify\nx:6 WriteFile\nx:8 EventModify\nx:8 WaitForMultipleObjects\nx:8 FindFirstFileW\n");
}

TEST(CallSiteScanTest, FindsEverySiteThatTheLibraryReaches) {
  const std::vector<SiteName> all = CallSitesBelow(PHOTOMETER_SOURCE_FOLDER);
  EXPECT_THAT(CallSitesBelow("/nowhere"), IsEmpty());
  FailingCalls failing;
  {
    tests::World world;
    tests::Device device(world);
    ASSERT_TRUE(device.StartUp());
    device.Close();
  }
  EXPECT_GT(failing.Reached().size(), 30U);
  for (const ReachedSite& site : failing.Reached()) {
    EXPECT_THAT(all, testing::Contains(site.name)) << ToText(site.name);
  }
  EXPECT_THAT(NeverReached(all, failing.Reached()), Not(IsEmpty()));
}

}  // namespace
}  // namespace virtualtest
