#include <algorithm>
#include <array>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "procedures/ScanPlan.h"
#include "support/DefaultRecords.h"

namespace photometer::tests {
namespace {

constexpr DWORD AUTOMATIC = 0;
constexpr DWORD HALOGEN = 1;
constexpr DWORD DEUTERIUM = 2;

/// "$s3501 501 D0 high": the command, its points, lamp and filter, gain and power; "+500" for a pause before it, ms.
/// All segments, one behind the other.
std::string Text(const ScanPlan& plan) {
  std::string text;
  for (const ScanSegment& segment : plan.segments) {
    EXPECT_EQ(segment.bGain, segment.bHalogenHighPower);
    EXPECT_TRUE(segment.dwLamp == HALOGEN || segment.dwLamp == DEUTERIUM);
    EXPECT_EQ(segment.strCommand.back(), '\r');
    text += (text.empty() ? "" : ", ") + segment.strCommand.substr(0, segment.strCommand.size() - 1) + " " +
            std::to_string(segment.dwExpected) + (segment.dwLamp == DEUTERIUM ? " D" : " H") +
            std::to_string(segment.dwFilter) + (segment.bGain ? " high" : " low") +
            (segment.dwDelay == 0 ? "" : " +" + std::to_string(segment.dwDelay));
  }
  return text;
}

ScanRequest Request(DWORD dwLampMode, bool bCoarse) {
  ScanRequest request{};
  request.m_dwLampMode = dwLampMode;
  request.m_bStep1nm = bCoarse ? TRUE : FALSE;
  return request;
}

/// Boundaries that rise, as those of a sound instrument.
ScanPositions Between(DWORD dwFirst, DWORD dwLast, bool bUV = true) {
  return {dwFirst, dwLast, bUV ? 3500U : 0U, 5000, 6000, 7000, 8500, 9500};
}

TEST(ScanPlan, Segments) {
  struct {
    const char* what;
    DWORD dwLampMode;
    bool bCoarse;
    bool bUV;
    ScanPositions positions;
    const char* expected;
  } const cases[] = {
      {"six", AUTOMATIC, false, true, Between(3000, 9000),
       "$s3501 501 D0 high, $s5001 1500 H1 high, $s6001 1000 H2 low, $s7001 1000 H2 low, "
       "$s8501 1500 H3 low, $s9001 500 H3 low +500"},
      {"without the deuterium path", AUTOMATIC, false, false, Between(3000, 9900, false),
       "$s5001 2001 H1 high, $s6001 1000 H2 low, $s7001 1000 H3 low, $s8501 1500 H4 low, "
       "$s9501 1000 H4 low +500, $s9901 400 H4 low +500"},
      {"halogen lamp alone", HALOGEN, false, true, Between(3000, 3600), "$s3501 501 H0 high, $s3601 100 H1 high"},
      {"deuterium lamp alone", DEUTERIUM, false, true, Between(3000, 7100),
       "$s3501 501 D0 high, $s5001 1500 D0 high, $s6001 1000 D2 low, $s7001 1000 D2 low, $s7101 100 D3 low"},
      {"beyond 1000 nm", AUTOMATIC, false, true, Between(9600, 9900), "$s9901 301 H3 low +500"},
      {"up to a boundary", AUTOMATIC, false, true, Between(3400, 3500), "$s3501 101 D0 high"},
      {"from a boundary on", AUTOMATIC, false, true, Between(3500, 3600), "$s3601 101 H1 high"},
      {"one position beyond a boundary", AUTOMATIC, false, true, Between(3400, 3501),
       "$s3501 101 D0 high, $s3502 1 H1 high"},
      // The deuterium lamp serves further than the lower filter, and the upper filter ends beyond 900 nm.
      {"boundaries that do not rise", AUTOMATIC, false, true,
       ScanPositions{3000, 9900, 5100, 5000, 6000, 8600, 8500, 9500},
       "$s5101 2101 D0 high, $s6001 900 H2 low, $s8601 2600 H2 low, $s9501 900 H3 low +500, $s9901 400 H3 low +500"},
      {"coarse", AUTOMATIC, true, true, Between(3000, 9000),
       "$s3501 50 D0 high, $s5001 150 H1 high, $s6001 100 H2 low, $s7001 100 H2 low, "
       "$s8501 150 H3 low, $s9011 51 H3 low +500"},
      {"a multiple of ten grows by ten", AUTOMATIC, true, true, Between(3000, 3119), "$s3130 13 D0 high"},
      {"nine more", AUTOMATIC, true, true, Between(3000, 3128), "$s3130 13 D0 high"},
      {"the first too short", AUTOMATIC, true, true, Between(3496, 4000), "$s4006 51 H1 high"},
      {"just long enough", AUTOMATIC, true, true, Between(3491, 4000), "$s3501 1 D0 high, $s4011 51 H1 high"},
      {"the last too short", AUTOMATIC, true, true, Between(4990, 5003), "$s5001 1 H1 high, $s5011 1 H2 low"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Text(PlanScan(Request(c.dwLampMode, c.bCoarse), c.bUV, c.positions)), c.expected) << c.what;
  }
}

/// What the unit does with the commands of a plan: from where it stands to the number in the command.
void ExpectThatTheUnitAgrees(const ScanPlan& plan, DWORD dwFirst, DWORD dwPositionsPerPoint) {
  DWORD dwAt = dwFirst;
  for (const ScanSegment& segment : plan.segments) {
    const auto dwEnd = static_cast<DWORD>(std::stoul(segment.strCommand.substr(2)));
    ASSERT_GT(dwEnd, dwAt);
    EXPECT_EQ((dwEnd - dwAt) / dwPositionsPerPoint, segment.dwExpected);
    EXPECT_GT(segment.dwExpected, 0U);
    dwAt = dwEnd;
  }
  EXPECT_EQ(dwAt, plan.dwLast + 1);
}

TEST(ScanPlan, NoPositionIsLostOrInTwoSegments) {
  std::mt19937 random(1);
  for (int i = 0; i < 20000 && !testing::Test::HasFailure(); ++i) {
    // Some boundaries lie close together, and half of them do not rise.
    const DWORD dwSpread = i % 3 == 0 ? 30 : 12000;
    const auto draw = [&](DWORD dwFrom) { return std::uniform_int_distribution<DWORD>(dwFrom, dwSpread)(random); };
    std::array<DWORD, 6> b{};
    std::ranges::generate(b, [&] { return 2000 + draw(0); });
    if (i % 2 == 0) {
      std::ranges::sort(b);
    }
    const DWORD dwFirst = 1990 + draw(0);
    const ScanPositions positions{dwFirst, dwFirst + draw(1), b[0], b[1], b[2], b[3], b[4], b[5]};
    SCOPED_TRACE(i);
    const ScanPlan fine = PlanScan(Request(AUTOMATIC, false), TRUE, positions);
    ExpectThatTheUnitAgrees(fine, dwFirst, 1);
    EXPECT_EQ(fine.dwLast, positions.dwLast);
    const ScanPlan coarse = PlanScan(Request(AUTOMATIC, true), TRUE, positions);
    ExpectThatTheUnitAgrees(coarse, dwFirst, 10);
    EXPECT_GT(coarse.dwLast, positions.dwLast - 1);
    EXPECT_LE(coarse.dwLast, positions.dwLast + 10);
  }
}

TEST(ScanPlan, Validation) {
  struct {
    const char* what;
    bool bUV;
    ScanRequest request;
    HRESULT expected;
  } const cases[] = {
      {"whole range", true, {1, 190, 1100, 350, DEUTERIUM, FALSE, FALSE}, S_OK},
      {"halogen lamp without the deuterium path", false, {1, 400, 500, 340, HALOGEN, FALSE, FALSE}, S_OK},
      {"deuterium lamp without its path", false, {1, 400, 500, 340, DEUTERIUM, FALSE, FALSE}, E_INVALIDARG},
      {"no such lamp mode", true, {1, 400, 500, 340, 3, FALSE, FALSE}, E_INVALIDARG},
      {"start at the end", true, {1, 500, 500, 340, AUTOMATIC, FALSE, FALSE}, E_INVALIDARG},
      {"start out of range", false, {1, 329.9, 500, 340, AUTOMATIC, FALSE, FALSE}, E_INVALIDARG},
      {"end out of range", true, {1, 400, 1100.1, 340, AUTOMATIC, FALSE, FALSE}, E_INVALIDARG},
      {"switching point out of range", true, {1, 400, 500, 350.1, AUTOMATIC, FALSE, FALSE}, E_INVALIDARG},
  };
  PhotometerParameters params = DefaultParameters();
  for (const auto& c : cases) {
    params.bUV = c.bUV ? TRUE : FALSE;
    EXPECT_EQ(ValidateScanRequest(&c.request, params), c.expected) << c.what;
  }
}

}  // namespace
}  // namespace photometer::tests
