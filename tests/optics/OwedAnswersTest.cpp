#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "optics/OwedAnswers.h"
#include "platform/Platform.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

TEST(OwedAnswers, EachCommandOfTheSetIsOwedItsAnswer) {
  const std::string reading(18, '\x01');
  struct {
    std::vector<std::string> written;
    std::vector<std::string> received;
    bool bOwed;
  } const cases[] = {
      {{"$d0\r"}, {"err", "or\r\n"}, false},
      {{"$d0\r"}, {std::string(500, '.'), "o", "k"}, false},
      {{"$z"}, {}, false},
      {{"$ \r"}, {}, true},
      {{"$d0\r", "$f0\r"}, {"ok\r\nok"}, false},
      {{"$a3\r"}, {reading.substr(1)}, true},
      {{"$i5\r$a3\r$i1\r"}, {"ok\r\n", reading, "ok"}, false},
      {{"$t\r"}, {std::string(95, 't')}, true},
      {{"$a3\r$i5\r$i6\r"}, {"error\r\nok\r\nok\r\n....."}, false},
      {{"$s5000\r"}, {"\x01"}, false},
      {{"$x1\r", "$\r", "hello\r", "\r"}, {}, false},
  };
  for (const auto& c : cases) {
    World world;
    OwedAnswers owed;
    std::string what;
    for (const std::string& text : c.written) {
      what += text;
      owed.Note(text);
    }
    for (const std::string& text : c.received) {
      owed.Take(text);
    }
    EXPECT_EQ(owed.Rest() != 0, c.bOwed) << what;
  }
}

TEST(OwedAnswers, AnAnswerHasItsTime) {
  World world;
  OwedAnswers owed;
  owed.Take("ok");
  owed.Note("$d0\r");
  EXPECT_EQ(owed.Rest(), 10'000U);
  platform::Sleep(4000);
  owed.Note("$z\r$f0\r");
  EXPECT_EQ(owed.Rest(), 56'000U);
  owed.Take("ok");
  EXPECT_EQ(owed.Rest(), 60'000U);
  platform::Sleep(60'000);
  EXPECT_EQ(owed.Rest(), 0U);
  owed.Forget();
  owed.NoteBytes(2);
  EXPECT_EQ(owed.Rest(), 10'000U);
  owed.Take("k\r");
  EXPECT_EQ(owed.Rest(), 0U);
}

}  // namespace
}  // namespace photometer::tests
