#include <gtest/gtest.h>

#include "platform/Platform.h"

namespace photometer::platform {
namespace {

constexpr SYSTEMTIME Evening = {2026, 11, 2, 17, 22, 49, 44, 7};
constexpr SYSTEMTIME Early = {987, 1, 0, 2, 3, 4, 5, 0};

TEST(Clock, GermanDate) {
  EXPECT_EQ(GetDateFormatW(LOCALE_GERMAN, Evening), u"17.11.2026");
  EXPECT_EQ(GetDateFormatW(LOCALE_GERMAN, Early), u"02.01.0987");
  EXPECT_EQ(GetDateFormatW(1033, Evening), u"");
}

TEST(Clock, TimeByFormat) {
  const std::tuple<SYSTEMTIME, const char16_t*, const char16_t*> cases[] = {
      {Evening, u"HH':'mm':'ss", u"22:49:44"},    {Early, u"HH:H:m:s", u"03:3:4:5"},
      {Evening, u"HH' o''clock'", u"22 o'clock"}, {Evening, u"'HH mm'ss", u"HH mm44"},
      {Evening, u"ss'open", u"44open"},
  };
  for (const auto& [time, format, text] : cases) {
    EXPECT_EQ(GetTimeFormatW(LOCALE_GERMAN, time, format), text) << ToUtf8(format);
  }
  EXPECT_EQ(GetTimeFormatW(1033, Evening, u"HH"), u"");
}

}  // namespace
}  // namespace photometer::platform
