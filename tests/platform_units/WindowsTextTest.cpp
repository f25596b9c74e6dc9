#include <set>

#include <gtest/gtest.h>

#include "platform/Platform.h"

namespace photometer::platform {
namespace {

TEST(WindowsText, EveryByteHasACharacterOfItsOwnAndComesBack) {
  std::set<char16_t> characters;
  for (int iByte = 0; iByte < 256; ++iByte) {
    const std::string byte(1, static_cast<char>(iByte));
    const std::u16string wide = MultiByteToWideChar(byte);
    ASSERT_EQ(wide.size(), 1U) << iByte;
    characters.insert(wide[0]);
    EXPECT_EQ(WideCharToMultiByte(wide), byte) << iByte;
  }
  EXPECT_EQ(characters.size(), 256U);
}

TEST(WindowsText, TheBytesAbove7FAreTheCodePagesCharacters) {
  // The five bytes without a character are left out here.
  EXPECT_EQ(ToUtf8(MultiByteToWideChar("\x80\x82\x83\x84\x85\x86\x87\x88\x89\x8A\x8B\x8C\x8E")), "€‚ƒ„…†‡ˆ‰Š‹ŒŽ");
  EXPECT_EQ(ToUtf8(MultiByteToWideChar("\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9A\x9B\x9C\x9E\x9F")), "‘’“”•–—˜™š›œžŸ");
  EXPECT_EQ(MultiByteToWideChar("\x81\x8D\x8F\x90\x9D\xA0\xFF"), u"\u0081\u008D\u008F\u0090\u009D\u00A0\u00FF");
}

TEST(WindowsText, NarrowsByTheCodePage) {
  const std::pair<std::u16string, std::string> cases[] = {
      {u"\u20AC\u0160\u2122\u0178\u00B5\u0081", "\x80\x8A\x99\x9F\xB5\x81"},
      {u"\u0080\u0099\u0100", "???"},
      {u"a\U0001F600b", "a?b"},
      {u"\xD83D\xD83D", "??"},
      {u"\xDE00x", "?x"},
      {u"x\xD83D", "x?"},
      {std::u16string(u"a\0b", 3), std::string("a\0b", 3)},
  };
  for (const auto& [wide, narrow] : cases) {
    EXPECT_EQ(WideCharToMultiByte(wide), narrow) << testing::PrintToString(narrow);
  }
  EXPECT_EQ(wcstombs(u"a\U0001F600b", 2), "a?");
  EXPECT_EQ(wcstombs(u"ab", 127), "ab");
}

TEST(WindowsText, Utf8BothWays) {
  const std::pair<std::u16string, std::string> cases[] = {
      {u"A\u00FC\u20AC", "A\xC3\xBC\xE2\x82\xAC"}, {u"\U0001F600\U0010FFFF", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"}};
  for (const auto& [wide, utf8] : cases) {
    EXPECT_EQ(ToUtf8(wide), utf8);
    EXPECT_EQ(FromUtf8(utf8), wide);
  }
  EXPECT_EQ(ToUtf8(u"a\xD83D"), "a\xEF\xBF\xBD");
}

TEST(WindowsText, BrokenUtf8BecomesReplacements) {
  const char* const cases[] = {
      "\x80", "\xFF", "\xC3", "\xC0\xAF", "\xE2\x82", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE0\x80\xAF"};
  for (const std::string text : cases) {
    std::u16string wide = FromUtf8("<" + text + ">");
    EXPECT_GT(std::erase(wide, u'\xFFFD'), 0U) << testing::PrintToString(text);
    EXPECT_EQ(wide, u"<>") << testing::PrintToString(text);
  }
}

}  // namespace
}  // namespace photometer::platform
