#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "procedures/ScanPlan.h"
#include "support/DefaultRecords.h"

namespace photometer::tests {
namespace {

using Segments = std::vector<std::string>;

constexpr DWORD AUTOMATIC = 0;
constexpr DWORD HALOGEN = 1;
constexpr DWORD DEUTERIUM = 2;

/// "$s3501 501 deuterium F0 high", with "+500" for a pause before it.
std::string Text(const ScanSegment& segment) {
  EXPECT_EQ(segment.bGain, segment.bHalogenHighPower);
  EXPECT_TRUE(segment.dwLamp == HALOGEN || segment.dwLamp == DEUTERIUM);
  EXPECT_EQ(segment.strCommand.back(), '\r');
  std::string text = segment.strCommand.substr(0, segment.strCommand.size() - 1) + " " +
                     std::to_string(segment.dwExpected) + (segment.dwLamp == DEUTERIUM ? " deuterium" : " halogen") +
                     " F" + std::to_string(segment.dwFilter) + (segment.bGain ? " high" : " low");
  return segment.dwDelay == 0 ? text : text + " +" + std::to_string(segment.dwDelay);
}

Segments Texts(const ScanPlan& plan) {
  Segments texts;
  for (const ScanSegment& segment : plan.segments) {
    texts.push_back(Text(segment));
  }
  return texts;
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

TEST(ScanPlan, FineSegments) {
  struct {
    const char* what;
    DWORD dwLampMode;
    bool bUV;
    DWORD dwFirst;
    DWORD dwLast;
    Segments expected;
  } const cases[] = {
      {"six segments",
       AUTOMATIC,
       true,
       3000,
       9000,
       {"$s3501 501 deuterium F0 high", "$s5001 1500 halogen F1 high", "$s6001 1000 halogen F2 low",
        "$s7001 1000 halogen F2 low", "$s8501 1500 halogen F3 low", "$s9001 500 halogen F3 low +500"}},
      {"all seven",
       AUTOMATIC,
       true,
       3000,
       9900,
       {"$s3501 501 deuterium F0 high", "$s5001 1500 halogen F1 high", "$s6001 1000 halogen F2 low",
        "$s7001 1000 halogen F2 low", "$s8501 1500 halogen F3 low", "$s9501 1000 halogen F3 low +500",
        "$s9901 400 halogen F3 low +500"}},
      {"without the deuterium path",
       AUTOMATIC,
       false,
       3000,
       9900,
       {"$s5001 2001 halogen F1 high", "$s6001 1000 halogen F2 low", "$s7001 1000 halogen F3 low",
        "$s8501 1500 halogen F4 low", "$s9501 1000 halogen F4 low +500", "$s9901 400 halogen F4 low +500"}},
      {"halogen lamp alone",
       HALOGEN,
       true,
       3000,
       7100,
       {"$s3501 501 halogen F0 high", "$s5001 1500 halogen F1 high", "$s6001 1000 halogen F2 low",
        "$s7001 1000 halogen F2 low", "$s7101 100 halogen F3 low"}},
      {"deuterium lamp alone",
       DEUTERIUM,
       true,
       3000,
       7100,
       {"$s3501 501 deuterium F0 high", "$s5001 1500 deuterium F0 high", "$s6001 1000 deuterium F2 low",
        "$s7001 1000 deuterium F2 low", "$s7101 100 deuterium F3 low"}},
      {"halogen lamp without the deuterium path", HALOGEN, false, 3000, 3100, {"$s3101 101 halogen F1 high"}},
      {"inside the deuterium segment", AUTOMATIC, true, 3000, 3400, {"$s3401 401 deuterium F0 high"}},
      {"inside the lower", AUTOMATIC, true, 3600, 4900, {"$s4901 1301 halogen F1 high"}},
      {"inside the middle", AUTOMATIC, true, 5100, 5900, {"$s5901 801 halogen F2 low"}},
      {"inside the upper", AUTOMATIC, true, 6100, 6900, {"$s6901 801 halogen F2 low"}},
      {"inside the red", AUTOMATIC, true, 7100, 8400, {"$s8401 1301 halogen F3 low"}},
      {"inside the near infrared", AUTOMATIC, true, 8600, 9400, {"$s9401 801 halogen F3 low +500"}},
      {"beyond 1000 nm", AUTOMATIC, true, 9600, 9900, {"$s9901 301 halogen F3 low +500"}},
      {"beyond 1000 nm without the deuterium path", AUTOMATIC, false, 9600, 9900, {"$s9901 301 halogen F4 low +500"}},
      {"from a boundary on", AUTOMATIC, true, 3500, 3600, {"$s3601 101 halogen F1 high"}},
      {"up to a boundary", AUTOMATIC, true, 3400, 3500, {"$s3501 101 deuterium F0 high"}},
      {"one position beyond a boundary",
       AUTOMATIC,
       true,
       3400,
       3501,
       {"$s3501 101 deuterium F0 high", "$s3502 1 halogen F1 high"}},
  };
  for (const auto& c : cases) {
    const ScanPlan plan = PlanScan(Request(c.dwLampMode, false), c.bUV, Between(c.dwFirst, c.dwLast, c.bUV));
    EXPECT_EQ(Texts(plan), c.expected) << c.what;
    EXPECT_EQ(plan.dwLast, c.dwLast) << c.what;
  }
}

TEST(ScanPlan, BoundariesThatDoNotRiseDropSegments) {
  // The deuterium lamp serves further than the lower filter, and the upper filter ends beyond 900 nm.
  const ScanPositions positions{3000, 9900, 5100, 5000, 6000, 8600, 8500, 9500};
  EXPECT_EQ(Texts(PlanScan(Request(AUTOMATIC, false), TRUE, positions)),
            (Segments{"$s5101 2101 deuterium F0 high", "$s6001 900 halogen F2 low", "$s8601 2600 halogen F2 low",
                      "$s9501 900 halogen F3 low +500", "$s9901 400 halogen F3 low +500"}));
}

TEST(ScanPlan, CoarseSegments) {
  struct {
    const char* what;
    ScanPositions positions;
    Segments expected;
    DWORD dwLast;
  } const cases[] = {
      {"six segments",
       Between(3000, 9000),
       {"$s3501 50 deuterium F0 high", "$s5001 150 halogen F1 high", "$s6001 100 halogen F2 low",
        "$s7001 100 halogen F2 low", "$s8501 150 halogen F3 low", "$s9011 51 halogen F3 low +500"},
       9010},
      {"a multiple of ten grows by ten", Between(3000, 3119), {"$s3130 13 deuterium F0 high"}, 3129},
      {"one more", Between(3000, 3120), {"$s3130 13 deuterium F0 high"}, 3129},
      {"nine more", Between(3000, 3128), {"$s3130 13 deuterium F0 high"}, 3129},
      {"a few positions", Between(3000, 3004), {"$s3010 1 deuterium F0 high"}, 3009},
      {"the first too short", Between(3496, 4000), {"$s4006 51 halogen F1 high"}, 4005},
      {"just long enough", Between(3491, 4000), {"$s3501 1 deuterium F0 high", "$s4011 51 halogen F1 high"}, 4010},
      {"one in the middle too short",
       {4900, 5500, 3500, 5000, 5004, 7000, 8500, 9500},
       {"$s5001 10 halogen F1 high", "$s5511 51 halogen F2 low"},
       5510},
      {"two in a row too short",
       {4996, 5500, 3500, 5000, 5004, 5010, 8500, 9500},
       {"$s5011 1 halogen F2 low", "$s5511 50 halogen F3 low"},
       5510},
      {"the last too short", Between(4990, 5003), {"$s5001 1 halogen F1 high", "$s5011 1 halogen F2 low"}, 5010},
      {"the last but one too short, and the last",
       {4996, 5003, 3500, 5000, 6000, 7000, 8500, 9500},
       {"$s5006 1 halogen F2 low"},
       5005},
  };
  for (const auto& c : cases) {
    const ScanPlan plan = PlanScan(Request(AUTOMATIC, true), TRUE, c.positions);
    EXPECT_EQ(Texts(plan), c.expected) << c.what;
    EXPECT_EQ(plan.dwLast, c.dwLast) << c.what;
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

/// The filter for a position between boundaries that rise.
DWORD FilterAt(DWORD dwPosition, const ScanPositions& p) {
  if (dwPosition <= p.dwSwitching) {
    return 0;
  }
  return dwPosition <= p.dwLowerFilter ? 1 : dwPosition <= p.dwUpperFilter ? 2 : 3;
}

TEST(ScanPlan, NoPositionIsLostOrInTwoSegments) {
  std::mt19937 random(1);
  const auto draw = [&](DWORD dwFrom, DWORD dwTo) {
    return std::uniform_int_distribution<DWORD>(dwFrom, dwTo)(random);
  };
  for (int i = 0; i < 20000; ++i) {
    const bool bRising = i % 2 == 0;
    // Some boundaries lie close together.
    const DWORD dwSpread = i % 3 == 0 ? 30 : 12000;
    std::vector<DWORD> boundaries;
    for (int n = 0; n < 6; ++n) {
      boundaries.push_back(2000 + draw(0, dwSpread));
    }
    if (bRising) {
      std::sort(boundaries.begin(), boundaries.end());
    }
    const DWORD dwFirst = 1990 + draw(0, dwSpread);
    const ScanPositions positions{dwFirst,       dwFirst + draw(1, dwSpread),
                                  boundaries[0], boundaries[1],
                                  boundaries[2], boundaries[3],
                                  boundaries[4], boundaries[5]};
    const ScanPlan fine = PlanScan(Request(AUTOMATIC, false), TRUE, positions);
    ExpectThatTheUnitAgrees(fine, dwFirst, 1);
    EXPECT_EQ(fine.dwLast, positions.dwLast);
    DWORD dwAt = dwFirst;
    for (const ScanSegment& segment : fine.segments) {
      for (const DWORD dwEnd = dwAt + segment.dwExpected; dwAt < dwEnd && bRising; ++dwAt) {
        // A first position on a boundary belongs to the next segment.
        ASSERT_EQ(segment.dwFilter, FilterAt(std::max(dwAt, dwFirst + 1), positions)) << dwAt;
      }
    }
    const ScanPlan coarse = PlanScan(Request(AUTOMATIC, true), TRUE, positions);
    ExpectThatTheUnitAgrees(coarse, dwFirst, 10);
    EXPECT_GT(coarse.dwLast, positions.dwLast - 1);
    EXPECT_LE(coarse.dwLast, positions.dwLast + 10);
    ASSERT_FALSE(testing::Test::HasFailure()) << "run " << i;
  }
}

TEST(ScanPlan, Validation) {
  const double dNaN = std::numeric_limits<double>::quiet_NaN();
  const double dInfinity = std::numeric_limits<double>::infinity();
  struct {
    const char* what;
    bool bUV;
    double dStart;
    double dEnd;
    double dSwitching;
    DWORD dwLampMode;
    HRESULT expected;
  } const cases[] = {
      {"whole range", true, 190, 1100, 340, AUTOMATIC, S_OK},
      {"whole range of the halogen lamp", false, 330, 1100, 330, AUTOMATIC, S_OK},
      {"highest switching point", true, 190, 1100, 350, DEUTERIUM, S_OK},
      {"start at the end", true, 500, 500, 340, AUTOMATIC, E_INVALIDARG},
      {"start above the end", true, 501, 500, 340, AUTOMATIC, E_INVALIDARG},
      {"deuterium lamp without its path", false, 400, 500, 340, DEUTERIUM, E_INVALIDARG},
      {"halogen lamp without the deuterium path", false, 400, 500, 340, HALOGEN, S_OK},
      {"below the deuterium lamp", true, 189.9, 500, 340, AUTOMATIC, E_INVALIDARG},
      {"below the halogen lamp", false, 329.9, 500, 340, AUTOMATIC, E_INVALIDARG},
      {"above the range", true, 400, 1100.1, 340, AUTOMATIC, E_INVALIDARG},
      {"switching point too low", true, 400, 500, 329.9, AUTOMATIC, E_INVALIDARG},
      {"switching point too high", true, 400, 500, 350.1, AUTOMATIC, E_INVALIDARG},
      {"no such lamp mode", true, 400, 500, 340, 3, E_INVALIDARG},
      {"start is no number", true, dNaN, 500, 340, AUTOMATIC, E_INVALIDARG},
      {"end is no number", true, 400, dNaN, 340, AUTOMATIC, E_INVALIDARG},
      {"switching point is no number", true, 400, 500, dNaN, AUTOMATIC, E_INVALIDARG},
      {"without end", true, 400, dInfinity, 340, AUTOMATIC, E_INVALIDARG},
      {"without start", true, -dInfinity, 500, 340, AUTOMATIC, E_INVALIDARG},
  };
  PhotometerParameters params = DefaultParameters();
  for (const auto& c : cases) {
    params.bUV = c.bUV ? TRUE : FALSE;
    const ScanRequest request{1, c.dStart, c.dEnd, c.dSwitching, c.dwLampMode, FALSE, FALSE};
    EXPECT_EQ(ValidateScanRequest(&request, params), c.expected) << c.what;
  }
  EXPECT_EQ(ValidateScanRequest(nullptr, params), E_POINTER);
}

}  // namespace
}  // namespace photometer::tests
