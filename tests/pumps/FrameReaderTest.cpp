#include <gtest/gtest.h>

#include "pumps/FrameReader.h"

namespace photometer::tests {
namespace {

TEST(FrameReader, TakesFramesOutOfTheBuffer) {
  struct {
    const char* buffer;
    std::vector<std::string> frames;
    const char* rest;
  } const cases[] = {
      {"", {}, ""},
      {"\x02y;a\x03", {"y;a"}, ""},
      {"\x02y;", {}, "\x02y;"},
      {"noise\x02y;a\x03more\x02h;\x03tail", {"y;a", "h;"}, "tail"},
      {"\x02\x03", {""}, ""},
      // An end byte that belongs to nothing must not stop what follows.
      {"noise\x03", {}, ""},
      {"\x03\x03x\x03\x02p\x03\x02", {"p"}, "\x02"},
      {"\x02p\x02s\x03", {"p\x02s"}, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.buffer);
    std::string buffer = c.buffer;
    std::vector<std::string> frames;
    while (const auto frame = ExtractFrame(&buffer)) {
      frames.push_back(*frame);
    }
    EXPECT_EQ(frames, c.frames);
    EXPECT_EQ(buffer, c.rest);
  }
}

TEST(FrameReader, KeepsTheNewestBytesAndTellsOnce) {
  FrameReader reader;
  int iTold = 0;
  for (int i = 0; i < 1000; ++i) {
    iTold += reader.Append(std::string(192, 'g')) ? 1 : 0;
  }
  EXPECT_EQ(iTold, 1);
  EXPECT_FALSE(reader.Append(std::string(FrameReader::CAPACITY * 3, '\x02') + "\x03\x02y;a\x03"));
  EXPECT_EQ(reader.ExtractFrame()->size(), FrameReader::CAPACITY / 2 - 7);
  EXPECT_EQ(reader.ExtractFrame(), "y;a");
}

TEST(FrameReader, BannerWaitsForItsLastByte) {
  const std::string banner = "noise ZQ-410..V01.07";
  FrameReader reader;
  std::string version = "before";
  for (std::size_t n = 0; n < banner.size(); ++n) {
    const auto expected = n < 12 ? FrameReader::Banner::None : FrameReader::Banner::Incomplete;
    EXPECT_EQ(reader.TakeBanner("ZQ-410", 2, 6, &version), expected) << n;
    reader.Append(banner.substr(n, 1));
  }
  EXPECT_EQ(version, "before");
  EXPECT_EQ(reader.TakeBanner("ZQ-410", 2, 6, &version), FrameReader::Banner::Taken);
  EXPECT_EQ(version, "V01.07");
  EXPECT_EQ(reader.TakeAll(), "");
}

}  // namespace
}  // namespace photometer::tests
