#include <cmath>
#include <sstream>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "HostBoard.h"
#include "InstrumentOptions.h"
#include "PumpIntake.h"
#include "Session.h"
#include "host/Spoken.h"

namespace host {
namespace {

using photometer::MeasureRequest;

/// A session on a simulated instrument of its own, with few zero wavelengths. Asks the virtual board at the end whether
/// anything broke its rules.
class Bench {
 public:
  explicit Bench(BoardOptions options = {}) {
    options.bSimulate = true;
    m_instrument.Check();
    m_instrument.ProposeZeros({436, 525});
    EXPECT_EQ(m_board.Open(options, m_instrument), "");
  }
  ~Bench() {
    for (photometer::platform::HANDLE hPerson : m_people) {
      photometer::platform::WaitForSingleObject(hPerson, photometer::platform::INFINITE);
      photometer::platform::CloseHandle(hPerson);
    }
    EXPECT_THAT(m_board.Faults(), testing::IsEmpty());
  }

  RunEnd StartUp(Session& session) { return session.StartUp(m_instrument.Parameters(), m_instrument.Calibration()); }
  RunEnd Measure(Session& session) {
    return session.Run(
        [this](photometer::IPhotometer& device) { return device.StartMeasure(&m_request); },
        [this](const HostEvent& event) { m_nResults += std::holds_alternative<Results>(event) ? 1 : 0; });
  }
  /// Raises the interrupt so many ms from now.
  void RaiseLater(DWORD dwMilliseconds) {
    m_people.push_back(photometer::platform::CreateThread(
        [this, dwMilliseconds] {
          photometer::platform::Sleep(dwMilliseconds);
          m_interrupt.Raise();
        },
        "Person", nullptr));
  }
  simulator::OpticalUnit& Unit() { return m_board.Simulated()->Model().unit; }

  HostBoard m_board;
  InstrumentOptions m_instrument;
  std::ostringstream m_messages;
  Progress m_progress{m_messages, false};
  Interrupt m_interrupt;
  MeasureRequest m_request{1, 340, 5, 0, 0, 0, 0, {436, 525, 620, 740}, {0, 1, 2, 3}};
  int m_nResults = 0;
  std::vector<photometer::platform::HANDLE> m_people;
};

TEST(Session, FirstRequestOfAPersonCancelsTheRunAndTheNextRunIsRight) {
  Bench bench;
  Session session(bench.m_progress, bench.m_interrupt, nullptr);
  ASSERT_EQ(bench.StartUp(session).outcome, Outcome::Finished);
  bench.RaiseLater(3000);
  EXPECT_EQ(bench.Measure(session).outcome, Outcome::Cancelled);
  EXPECT_LT(bench.m_nResults, 4);
  EXPECT_EQ(session.Device().GetStatus().bBusy, 0);
  bench.m_interrupt.Clear();
  bench.m_nResults = 0;
  EXPECT_EQ(bench.Measure(session).outcome, Outcome::Finished) << bench.m_messages.str();
  EXPECT_EQ(bench.m_nResults, 4);
}

TEST(Session, SecondRequestOfAPersonShutsDownAtOnce) {
  Bench bench;
  Session session(bench.m_progress, bench.m_interrupt, nullptr);
  ASSERT_EQ(bench.StartUp(session).outcome, Outcome::Finished);
  // The silent unit keeps the cancelled run waiting for 60 s.
  bench.Unit().WireFaults().Add({simulator::FaultKind::Silence, 'a', 1, 0, 0, 0, ""});
  bench.RaiseLater(3000);
  bench.RaiseLater(5000);
  const photometer::DWORD dwStart = photometer::platform::GetTickCount();
  EXPECT_EQ(bench.Measure(session).outcome, Outcome::Cancelled);
  EXPECT_LT(photometer::platform::GetTickCount() - dwStart, 9000U);
  EXPECT_EQ(bench.Unit().State().halogen, 0);
}

TEST(Session, RequestDuringStartUpEndsIt) {
  // In the middle of the start-up, and while `Initialize` waits for a unit that is not there.
  for (const bool bPowered : {true, false}) {
    Bench bench;
    bench.Unit().SwitchPower(0, bPowered);
    Session session(bench.m_progress, bench.m_interrupt, nullptr);
    bench.RaiseLater(5000);
    EXPECT_EQ(bench.StartUp(session).outcome, Outcome::Cancelled);
    EXPECT_LT(bench.m_board.Simulated()->Board().Now(), 10'000'000U);
  }
}

TEST(Session, TellsWhatEndedOrRefusedARun) {
  Bench bench;
  Session session(bench.m_progress, bench.m_interrupt, nullptr);
  EXPECT_EQ(bench.Measure(session).outcome, Outcome::Refused) << "nothing is initialised";
  bench.Unit().WireFaults().Add({simulator::FaultKind::Error, 'z', 1, 0, 0, 0, ""});
  const RunEnd startUp = bench.StartUp(session);
  EXPECT_EQ(startUp.outcome, Outcome::Failed);
  EXPECT_EQ(startUp.error, 84);
  ASSERT_EQ(bench.StartUp(session).outcome, Outcome::Finished);
  bench.Unit().WireFaults().Add({simulator::FaultKind::Silence, 'M', 1, 0, 0, 0, ""});
  const RunEnd run = bench.Measure(session);
  EXPECT_EQ(run.outcome, Outcome::Failed);
  EXPECT_EQ(run.error, 112);
  EXPECT_THAT(bench.m_messages.str(), testing::HasSubstr("error 112 (MoveMonochromator)"));
  bench.m_request.m_dwReadings = 0;
  EXPECT_EQ(bench.Measure(session).hResult, photometer::E_INVALIDARG);
}

TEST(Session, WaitsForACuvetteNoLongerThanTold) {
  Bench bench;
  Session session(bench.m_progress, bench.m_interrupt, nullptr);
  ASSERT_EQ(bench.StartUp(session).outcome, Outcome::Finished);
  EXPECT_EQ(session.WaitForCuvette(3), Outcome::NoEnd);
  EXPECT_FALSE(HasFlowCuvette(session, bench.m_progress));
  EXPECT_THAT(bench.m_messages.str(), testing::HasSubstr("no flow cuvette is inserted"));
  bench.m_board.Simulated()->InsertSample("mixture");
  EXPECT_EQ(session.WaitForCuvette(3), Outcome::Finished);
  EXPECT_EQ(session.Device().GetCuvetteSize(), 10);
  EXPECT_FALSE(session.HoldsMeasuredCuvette());
  ASSERT_EQ(bench.Measure(session).outcome, Outcome::Finished);
  EXPECT_TRUE(session.HoldsMeasuredCuvette());
  EXPECT_EQ(session.WaitForEmptyHolder(3), Outcome::NoEnd);
  bench.m_board.Simulated()->RemoveSample();
  EXPECT_EQ(session.WaitForEmptyHolder(3), Outcome::Finished);
  bench.m_board.Simulated()->InsertSample("blank");
  EXPECT_EQ(session.WaitForCuvette(3), Outcome::Finished);
  EXPECT_FALSE(session.HoldsMeasuredCuvette()) << "it is another one";
  EXPECT_TRUE(HasFlowCuvette(session, bench.m_progress));
  bench.m_board.Simulated()->Model().InsertCuvette(14, simulator::Sample::Blank(),
                                                   bench.m_board.Simulated()->Board().Now());
  ASSERT_EQ(session.WaitUntil([](auto& device) { return device.GetCuvetteSize() == 14; }, 5), Outcome::Finished);
  EXPECT_FALSE(HasFlowCuvette(session, bench.m_progress));
}

TEST(Session, APumpThatIsNotThereIsWaitedForInVainAndForAShortTime) {
  for (const char* pump : {"zq410", "zq420"}) {
    Bench bench;
    InstrumentOptions instrument;
    CLI::App app;
    instrument.AddTo(app);
    app.parse(std::string("--zeros 525 --pump ") + pump);
    instrument.Check();
    Session session(bench.m_progress, bench.m_interrupt, nullptr);
    ASSERT_EQ(session.StartUp(instrument.Parameters(), instrument.Calibration()).outcome, Outcome::Finished);
    const DWORD dwStart = photometer::platform::GetTickCount();
    EXPECT_EQ(ConnectPump(instrument, session, bench.m_progress), ExitCode::NoPump);
    EXPECT_NEAR(photometer::platform::GetTickCount() - dwStart, 10'000, 500);
    EXPECT_THAT(bench.m_messages.str(), testing::HasSubstr("look at its cable and power"));
  }
}

TEST(MeasureCommand, FindsTheSamplesAbsorbancesWithinTheNoise) {
  constexpr int Runs = 100;
  int iPoints = 0;
  int iBeyondThree = 0;
  double dSum = 0;
  for (int iSeed = 1; iSeed <= Runs; ++iSeed) {
    const Spoken spoken = Speak({"measure", "--demo", "--format", "json", "--seed", std::to_string(iSeed)});
    ASSERT_EQ(spoken.code, ExitCode::Success) << spoken.messages << spoken.results;
    const auto result = spoken.Result();
    for (const auto& one : result["wavelengths"]) {
      const double dExpected = one["expected"];
      const double dSigma = one["sigma"];
      const double dDistance = (one["absorbance"].get<double>() - dExpected) / dSigma;
      ASSERT_TRUE(dExpected > 0.05 && dExpected < 2.0 && dSigma < 0.001) << one;
      ASSERT_EQ(one["readings"].size(), 3U);
      EXPECT_LT(std::abs(dDistance), 5.0) << one;
      iBeyondThree += std::abs(dDistance) > 3.0 ? 1 : 0;
      dSum += dDistance;
      ++iPoints;
    }
  }
  ASSERT_EQ(iPoints, 10 * Runs);
  EXPECT_LE(iBeyondThree, iPoints / 100);
  // No bias: the mean of so many has a standard deviation of 0.03.
  EXPECT_LT(std::abs(dSum / iPoints), 0.15);
}

TEST(MeasureCommand, SaysWhyThereIsNoAbsorbance) {
  const Spoken spoken = Speak({"measure", "--simulate", "--wavelengths", "436,437,525", "--zeros", "436,525.05"});
  ASSERT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
  EXPECT_THAT(spoken.results, testing::HasSubstr("no zero value at this wavelength: add 437 to --zeros"));
  EXPECT_THAT(spoken.results, testing::Not(testing::HasSubstr("add 525")));
}

}  // namespace
}  // namespace host
