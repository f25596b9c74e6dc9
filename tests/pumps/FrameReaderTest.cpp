#include <gtest/gtest.h>

#include "pumps/FrameReader.h"

namespace photometer::tests {
namespace {

// What the frames and the banner of a text are, the corpus of the fuzz target shows.

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

}  // namespace
}  // namespace photometer::tests
