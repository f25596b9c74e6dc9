#include <set>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ErrorTexts.h"

namespace host {
namespace {

using testing::HasSubstr;

/// Every number that the device can tell, as the operations of the library give them.
std::set<LONG> KnownNumbers() {
  std::set<LONG> numbers = {-3, -2, 1, 2, 3, 4, 5, 41, 51, 77, 91, 111, 171, 181, 202, 205, 1000, 2000, 3000};
  for (const LONG iBase : {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 150, 170, 180, 190}) {
    for (LONG iCause = 2; iCause <= 5; ++iCause) {
      numbers.insert(iBase + iCause);
    }
  }
  numbers.insert({132, 133, 135, 162, 163, 165});
  numbers.insert({302, 303, 304, 305, 313, 315, 322, 323, 324, 325, 326, 501, 512, 513, 514,
                  516, 531, 532, 533, 535, 541, 542, 543, 545, 612, 613, 614, 615, 616, 617});
  return numbers;
}

TEST(ErrorTexts, CoverExactlyTheKnownNumbers) {
  const std::set<LONG> known = KnownNumbers();
  for (LONG iNumber = -10; iNumber <= 3100; ++iNumber) {
    const auto text = FindErrorText(iNumber);
    ASSERT_EQ(text.has_value(), known.contains(iNumber)) << iNumber;
    if (text) {
      EXPECT_FALSE(text->operation.empty() || text->cause.empty() || text->advice.empty()) << iNumber;
    }
  }
}

TEST(ErrorTexts, SayNumberOperationAndCause) {
  const struct {
    LONG iNumber;
    std::vector<std::string> parts;
  } cases[] = {
      {4, {"error 4 ", "SetFilter", "answered \"error\""}},
      {84, {"error 84 ", "SetHomePosition", "answered \"error\""}},
      {132, {"error 132 ", "GetADValue", "silent for 60 seconds"}},
      {111, {"error 111 ", "MoveMonochromator", "out of its range"}},
      {205, {"error 205 ", "ReadFirmwareVersion", "could not be written"}},
      {-3, {"error -3 ", "no more light than darkness"}},
      {323, {"error 323 ", "Scan", "more data"}},
      {315, {"error 315 ", "Kinetics", "longer interval"}},
      {999, {"error 999", "does not know", "Photometer.log"}},
  };
  for (const auto& one : cases) {
    for (const std::string& part : one.parts) {
      EXPECT_THAT(ExplainError(one.iNumber), HasSubstr(part));
    }
  }
}

TEST(ErrorTexts, NameTheResultsOfOperations) {
  EXPECT_THAT(ExplainResult(photometer::E_INVALIDARG), HasSubstr("E_INVALIDARG"));
  EXPECT_EQ(ExplainResult(static_cast<HRESULT>(0x80001234U)), "0x80001234");
}

}  // namespace
}  // namespace host
