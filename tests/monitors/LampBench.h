/// Lamp and timer without a device: state, sink, optical link with the simulated unit, deuterium lamp and timer.
/// Nothing runs but the reader until `StartTimer`; the port is open, the device is not busy.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "monitors/Timer.h"
#include "optics/InOrder.h"
#include "procedures/UVLamp.h"
#include "support/Optics.h"

namespace photometer::tests {

using Texts = std::vector<std::string>;

/// Keeps the calls about lamp and check with their times in ms ("601000 Ready(1)"), and answers the timer's questions.
/// The actions of `On` run inside these calls.
class LampSink final : public RecordingSink {
 private:
  template <class Action>
  auto Locked(const Action& action) const {
    const std::lock_guard lock(m_Mutex);
    return action();
  }

 public:
  using RecordingSink::RecordingSink;

  struct Answers {
    BOOL bActive = FALSE;
    LONG iCount = 0;
    BOOL bBusy = FALSE;
    DWORD dwWarmUpTime = 0;
  };

  void Answer(const Answers& answers) {
    Locked([&] { m_Answers = answers; });
  }
  /// Times count from now on, and the calls so far are forgotten.
  void StartClock(std::uint64_t nMicroseconds) {
    Locked([&] {
      m_nStart = nMicroseconds;
      m_Calls.clear();
    });
  }
  [[nodiscard]] Texts Calls() const {
    return Locked([&] { return m_Calls; });
  }
  [[nodiscard]] std::uint64_t StartOfClock() const { return m_nStart; }
  [[nodiscard]] int Questions() const { return m_iQuestions; }

  void OnUVLampReady(BOOL bReady) override { Note(bReady ? "Ready(1)" : "Ready(0)"); }
  void OnWavelengthCheckDue() override { Note("CheckDue"); }
  void GetHostActivity(BOOL* pActive, LONG* pCount) override {
    ++m_iQuestions;
    const Answers answers = Locked([&] { return m_Answers; });
    *pActive = answers.bActive;
    *pCount = answers.iCount;
  }
  void GetHostBusy(BOOL* pBusy) override {
    *pBusy = Locked([&] { return m_Answers.bBusy; });
  }
  void GetUVLampWarmUpTime(DWORD* pSeconds) override {
    Note("WarmUpTime?");
    *pSeconds = Locked([&] { return m_Answers.dwWarmUpTime; });
  }

 private:
  void Note(const std::string& text) {
    const std::uint64_t nNow = platform::CurrentBoard().GetKernel().GetMicroseconds();
    Locked([&] { m_Calls.push_back(std::to_string((nNow - m_nStart) / 1000) + " " + text); });
    Enter(text);
  }

  // Guards answers and calls; never held across a call of the layer.
  mutable std::mutex m_Mutex;
  Answers m_Answers;
  Texts m_Calls;
  std::atomic<std::uint64_t> m_nStart = 0;
  std::atomic<int> m_iQuestions = 0;
};

class LampBench : public Optics {
 public:
  explicit LampBench(platform::VirtualBoardOptions options = {})
      : Optics(WorldOptions{std::move(options), {}, nullptr, true}) {
    sink.SetSink(&host);
    SetBusy(FALSE);
    const auto guarded = state.Lock();
    guarded->m_Params.dwUVSessionTime = 600;
    guarded->m_Status.dwLastActivityTick = platform::GetTickCount();
  }
  ~LampBench() { Stop(); }
  LampBench(const LampBench&) = delete;
  LampBench& operator=(const LampBench&) = delete;

  void Stop() {
    sink.CloseGate();
    Optics::Stop();
  }
  /// From now on: the n-th tick comes n seconds later.
  void StartTimer() {
    host.StartClock(world.board.Now());
    EXPECT_TRUE(threads.Start("Timer", [this] { Timer(state, sink, lamp, external, sipper).Run(); }));
  }
  /// Until shortly before, or just after, a tick.
  void SleepUntilBefore(DWORD dwTick) { SleepUntil(dwTick * 1000 - 50); }
  void SleepUntilAfter(DWORD dwTick) { SleepUntil(dwTick * 1000 + 1); }

  /// The lamp burns, at the unit and in the cache.
  void Light() {
    link.WriteOpticalRaw("$d1\r");
    link.WriteOpticalRaw("$f7\r");
    Cache(CacheEntry::UVLamp, 1);
    Cache(CacheEntry::Fan, 7);
  }
  /// As `Initialize` leaves the unit.
  void PowerUp() {
    SetBusy(TRUE);
    EXPECT_EQ(unit.SetOptoPower(TRUE), 0U);
    SetBusy(FALSE);
  }
  /// The deuterium lamp's light falls on the detectors, as a procedure arranges it that wants the lamp.
  void LookAtLamp() {
    SetBusy(TRUE);
    EXPECT_EQ(InOrder([&] { return unit.SetOptoPower(TRUE); }, [&] { return unit.SetMonochromatorSpeed(50); },
                      [&] { return unit.SetMeasurementLength(1); }, [&] { return unit.SetMirror(2); },
                      [&] { return unit.SetGain(TRUE); },
                      [&] { return unit.MoveMonochromator(model.GetMonochromatorPosition(220.0)); }),
              0U);
    SetBusy(FALSE);
  }
  void SetBusy(BOOL bBusy) { state.Lock()->m_Status.bBusy = bBusy; }
  [[nodiscard]] BOOL IsBusy() { return state.Lock()->m_Status.bBusy; }
  void WaitUntilNotBusy() {
    for (int i = 0; i < 20'000 && IsBusy(); ++i) {
      platform::Sleep(50);
    }
    EXPECT_FALSE(IsBusy());
  }
  [[nodiscard]] UVSession Session() { return *state.Lock(); }
  void SetSession(const UVSession& session) { static_cast<UVSession&>(*state.Lock()) = session; }
  /// After what is on the wire has been carried out.
  [[nodiscard]] bool BurnsAtUnit() {
    for (int i = 0; i < 1000 && (i < 2 || !world.unit.IsIdle()); ++i) {
      platform::Sleep(10);
    }
    return world.unit.State().bDeuterium;
  }
  /// Cache and unit say the same of lamp and fan.
  void ExpectAgreement(bool bBurns) {
    EXPECT_EQ(BurnsAtUnit(), bBurns);
    EXPECT_EQ(Cached(CacheEntry::UVLamp), bBurns ? 1 : 0);
    EXPECT_EQ(world.unit.State().fan, bBurns ? 7 : 0);
    EXPECT_TRUE(Cached(CacheEntry::Fan) == world.unit.State().fan || Cached(CacheEntry::Fan) == UNKNOWN);
  }

  /// What was written to the registry: "HalLamp = 30".
  [[nodiscard]] Texts LampSeconds() const { return world.transcript.Texts("registry"); }

 private:
  void SleepUntil(DWORD dwMilliseconds) {
    const std::uint64_t nNow = (world.board.Now() - host.StartOfClock()) / 1000;
    ASSERT_LE(nNow, dwMilliseconds);
    platform::Sleep(static_cast<DWORD>(dwMilliseconds - nNow));
  }

 public:
  LampSink host{world.board, world.transcript};
  ReceiveBuffer externalBuffer{state};
  ReceiveBuffer sipperBuffer{state};
  ExternalPort external{state, sink, externalBuffer, threads};
  SipperPort sipper{state, sink, sipperBuffer, threads};
  WarmUp warmUp{state, threads, unit, model};
  UVLamp lamp{state, sink, link, model, warmUp};
};

}  // namespace photometer::tests
