#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "support/TemporaryFolder.h"

namespace photometer::platform {
namespace {

using tests::TemporaryFolder;

TEST(FormattedText, CutsAtTheLimit) {
  const std::pair<std::size_t, std::string> cases[] = {
      {0, ""}, {1, "["}, {9, "[Pump] 61"}, {10, "[Pump] 613"}, {11, "[Pump] 613"}};
  for (const auto& [nLimit, text] : cases) {
    EXPECT_EQ(FormatText(nLimit, "[%s] %03d", "Pump", 613), text);
  }
  const std::string longText(100'000, 'x');
  EXPECT_EQ(FormatText(1'000'000, "%s!", longText.c_str()), longText + "!");
}

/// Makes the process speak German, from a locale built for this test if the machine has none.
class GermanLocale {
 public:
  GermanLocale() {
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
      ::setenv("LOCPATH", m_folder.Path().c_str(), 1);
      const std::string command = "localedef -f UTF-8 -i de_DE " + m_folder.At("de_DE.UTF-8") + " >/dev/null 2>&1";
      static_cast<void>(std::system(command.c_str()));
      std::setlocale(LC_ALL, "de_DE.UTF-8");
    }
    m_bReady = *std::localeconv()->decimal_point == ',';
  }
  ~GermanLocale() {
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
  }
  GermanLocale(const GermanLocale&) = delete;
  GermanLocale& operator=(const GermanLocale&) = delete;
  [[nodiscard]] bool IsReady() const { return m_bReady; }

 private:
  TemporaryFolder m_folder;
  bool m_bReady = false;
};

TEST(FormattedText, WritesPointsUnderAGermanLocale) {
  const GermanLocale locale;
  if (!locale.IsReady()) {
    GTEST_SKIP() << "this machine has no German locale and cannot build one; install the package locales";
  }
  char buffer[16];
  std::snprintf(buffer, sizeof(buffer), "%.1f", 360.7);
  ASSERT_STREQ(buffer, "360,7");
  EXPECT_EQ(FormatText(100, "%.1f|%.8lf|%g", 360.7, -0.18985745, 0.5), "360.7|-0.18985745|0.5");
  // The process keeps its own locale.
  std::snprintf(buffer, sizeof(buffer), "%.1f", 360.7);
  EXPECT_STREQ(buffer, "360,7");
}

}  // namespace
}  // namespace photometer::platform
