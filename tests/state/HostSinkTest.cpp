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

/// A sink that can be called; expects a clean world at its end.
struct SinkWorld {
  SinkWorld() { sink.SetSink(&world.sink); }
  ~SinkWorld() { world.ExpectClean(); }

  World world;
  HostSink sink;
};

SinkCall Notice(DWORD dwId, DWORD dwCode) {
  return [=](IPhotometerSink& sink) { sink.OnNotify(dwId, dwCode, 0); };
}

TEST(HostSink, CallsOnlyARegisteredSinkThroughAnOpenGate) {
  SinkWorld w;
  w.sink.NotifyCode(1, 2, 3);
  w.sink.SetSink(nullptr);
  w.sink.NotifyCode(1, 2, 4);
  w.sink.SetSink(&w.world.sink);
  w.sink.CloseGate();
  w.sink.NotifyCode(1, 2, 5);
  w.sink.Query(Notice(1, 6));
  w.sink.OpenGate();
  w.world.sink.On("OnNotify(1, 2, 7)", [&w] { w.sink.CloseGate(); });
  w.sink.Notify({NotifyCall(1, 2, 7), NotifyCall(1, 2, 8)});
  EXPECT_EQ(w.world.sink.Calls(), (Calls{"OnNotify(1, 2, 3)", "OnNotify(1, 2, 7)"}));
}

TEST(HostSink, CallbacksTakeTurnsAndAQueryRunsBesideThem) {
  SinkWorld w;
  w.world.sink.On("OnNotify(1, ", [] { Sleep(1000); });
  CloseHandle(CreateThread([&] { w.sink.Notify({Notice(1, 1), Notice(1, 2)}); }, "caller", nullptr));
  Sleep(10);
  bool bInside = false;
  w.sink.Query([&](IPhotometerSink&) { bInside = w.sink.IsInsideCallback(); });
  EXPECT_TRUE(bInside);
  EXPECT_LT(w.world.board.Now(), 100'000U);
  w.sink.Notify(Notice(2, 0));
  EXPECT_GE(w.world.board.Now(), 2'000'000U) << "both calls of the first thread are made under one hold";
  EXPECT_EQ(w.world.sink.Calls(), (Calls{"OnNotify(1, 1, 0)", "OnNotify(1, 2, 0)", "OnNotify(2, 0, 0)"}));
}

TEST(HostSink, FaultOfTheHostIsPrintedAndHurtsNobody) {
  SinkWorld w;
  w.world.sink.On("OnNotify(1, ", [] { throw std::runtime_error("host"); });
  w.sink.Notify(Notice(1, 0));
  EXPECT_NE(w.world.board.DebugText().find(u"a callback of the host threw an exception"), std::u16string::npos);
  EXPECT_FALSE(w.sink.IsInsideCallback());
  w.sink.Notify(Notice(2, 0));
  EXPECT_EQ(w.world.sink.Count("OnNotify(2, 0, 0)"), 1U);
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
  }
}

}  // namespace
}  // namespace photometer::tests
