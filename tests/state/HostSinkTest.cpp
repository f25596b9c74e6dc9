#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "state/HostSink.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

using Calls = std::vector<std::string>;

/// A sink that can be called, and threads that call it.
struct SinkWorld {
  World world;
  HostSink sink;

  SinkWorld() { sink.SetSink(&world.sink); }

  HANDLE Start(std::function<void()> body) { return CreateThread(std::move(body), "caller", nullptr); }
  static void End(HANDLE hThread) {
    EXPECT_EQ(WaitForSingleObject(hThread, 60'000), WAIT_OBJECT_0);
    CloseHandle(hThread);
  }
};

TEST(HostSink, CallsOnlyARegisteredSinkThroughAnOpenGate) {
  SinkWorld w;
  w.sink.NotifyCode(1, 2, 3);
  w.sink.SetSink(nullptr);
  w.sink.NotifyCode(1, 2, 4);
  w.sink.SetSink(&w.world.sink);
  w.sink.CloseGate();
  w.sink.NotifyCode(1, 2, 5);
  w.sink.Query([](IPhotometerSink& sink) { sink.OnNotify(1, 2, 6); });
  w.sink.OpenGate();
  w.sink.NotifyCode(1, 2, 7);
  EXPECT_EQ(w.world.sink.Calls(), (Calls{"OnNotify(1, 2, 3)", "OnNotify(1, 2, 7)"}));
}

TEST(HostSink, CallbacksDoNotOverlap) {
  SinkWorld w;
  w.world.sink.On("OnNotify(1, 0, 0)", [] { Sleep(1000); });
  const HANDLE hThread = w.Start([&w] { w.sink.NotifyCode(1, 0, 0); });
  Sleep(10);
  w.sink.NotifyCode(2, 0, 0);
  EXPECT_GE(w.world.board.Now(), 1'000'000U);
  SinkWorld::End(hThread);
  w.world.ExpectClean();
}

TEST(HostSink, SeveralCallsUnderOneHold) {
  SinkWorld w;
  w.world.sink.On("OnNotify(1, ", [] { Sleep(1000); });
  const auto call = [](DWORD dwCode) { return [dwCode](IPhotometerSink& sink) { sink.OnNotify(1, dwCode, 0); }; };
  const HANDLE hThread = w.Start([&] { w.sink.Notify({call(1), call(2)}); });
  Sleep(10);
  w.sink.NotifyCode(2, 0, 0);
  SinkWorld::End(hThread);
  EXPECT_EQ(w.world.sink.Calls(), (Calls{"OnNotify(1, 1, 0)", "OnNotify(1, 2, 0)", "OnNotify(2, 0, 0)"}));
}

TEST(HostSink, GateThatClosesDuringACallStopsTheNext) {
  SinkWorld w;
  w.world.sink.On("OnNotify(1, 1, 0)", [&w] { w.sink.CloseGate(); });
  w.sink.Notify(
      {[](IPhotometerSink& sink) { sink.OnNotify(1, 1, 0); }, [](IPhotometerSink& sink) { sink.OnNotify(1, 2, 0); }});
  EXPECT_EQ(w.world.sink.Calls(), Calls{"OnNotify(1, 1, 0)"});
}

TEST(HostSink, GateThatClosesWhileACallWaitsForItsTurn) {
  SinkWorld w;
  w.world.sink.On("OnNotify(1, ", [] { Sleep(1000); });
  const HANDLE hFirst = w.Start([&w] { w.sink.NotifyCode(1, 0, 0); });
  Sleep(10);
  const HANDLE hSecond = w.Start([&w] { w.sink.NotifyCode(2, 0, 0); });
  Sleep(10);
  w.sink.CloseGate();
  SinkWorld::End(hFirst);
  SinkWorld::End(hSecond);
  EXPECT_EQ(w.world.sink.Calls(), Calls{"OnNotify(1, 0, 0)"});
}

TEST(HostSink, QueryRunsBesideACallback) {
  SinkWorld w;
  const HANDLE hThread = w.Start([&w] { w.sink.Notify([](IPhotometerSink&) { Sleep(1000); }); });
  Sleep(10);
  DWORD dwAnswer = 0;
  w.sink.Query([&](IPhotometerSink&) { dwAnswer = w.sink.IsInsideCallback() ? 1 : 2; });
  EXPECT_EQ(dwAnswer, 1U);
  EXPECT_LT(w.world.board.Now(), 100'000U);
  EXPECT_FALSE(w.sink.IsInsideCallback());
  SinkWorld::End(hThread);
}

TEST(HostSink, FaultOfTheHostIsPrintedAndHurtsNobody) {
  SinkWorld w;
  w.world.sink.On("OnNotify(1, ", [] { throw std::runtime_error("host"); });
  w.sink.NotifyCode(1, 0, 0);
  EXPECT_NE(w.world.board.DebugText().find(u"a callback of the host threw an exception"), std::u16string::npos);
  EXPECT_FALSE(w.sink.IsInsideCallback());
  w.sink.NotifyCode(2, 0, 0);
  EXPECT_EQ(w.world.sink.Count("OnNotify(2, 0, 0)"), 1U);
  w.world.ExpectClean();
}

TEST(HostSink, InsideIsAMatterOfTheThread) {
  SinkWorld w;
  bool bInside = false;
  bool bOther = true;
  bool bInsideAfterNested = false;
  w.sink.Notify([&](IPhotometerSink&) {
    bInside = w.sink.IsInsideCallback();
    SinkWorld::End(w.Start([&] { bOther = w.sink.IsInsideCallback(); }));
    w.sink.Notify([](IPhotometerSink&) {});
    bInsideAfterNested = w.sink.IsInsideCallback();
  });
  EXPECT_TRUE(bInside);
  EXPECT_FALSE(bOther);
  EXPECT_TRUE(bInsideAfterNested);
  EXPECT_FALSE(w.sink.IsInsideCallback());
}

TEST(HostSink, PutOffActionRunsAfterTheOutermostCallback) {
  for (const bool bQuery : {false, true}) {
    SinkWorld w;
    EXPECT_FALSE(w.sink.RunAfterCallback([] { FAIL(); }));
    std::string order;
    const SinkCall call = [&](IPhotometerSink&) {
      EXPECT_TRUE(w.sink.RunAfterCallback([&] {
        EXPECT_FALSE(w.sink.IsInsideCallback());
        order += "action ";
      }));
      // Neither what this thread calls from within, nor another thread's callback, carries it out.
      w.sink.Notify([](IPhotometerSink&) { FAIL() << "the gate is closed"; });
      order += "end of callback, ";
    };
    bQuery ? w.sink.Query(call) : w.sink.Notify(call);
    EXPECT_EQ(order, "end of callback, action ");
    w.world.ExpectClean();
  }
}

}  // namespace
}  // namespace photometer::tests
