#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OutputFile.h"
#include "host/TemporaryFolder.h"

namespace host {
namespace {

using testing::HasSubstr;

std::string Contents(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

std::size_t CountFiles(const std::filesystem::path& folder) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
}

TEST(OutputFile, IsReplacedOnlyByForce) {
  const TemporaryFolder folder;
  const std::string path = (folder.Path() / "result.csv").string();
  EXPECT_EQ(ComplainAboutOutput(path, false), "");
  EXPECT_EQ(WriteOutput(path, "first", false), "");
  EXPECT_THAT(ComplainAboutOutput(path, false), HasSubstr("--force"));
  // As if the file had come while the instrument measured.
  EXPECT_THAT(WriteOutput(path, "second", false), HasSubstr("is there already"));
  EXPECT_EQ(Contents(path), "first");
  EXPECT_EQ(ComplainAboutOutput(path, true), "");
  EXPECT_EQ(WriteOutput(path, "third", true), "");
  EXPECT_EQ(Contents(path), "third");
  EXPECT_EQ(CountFiles(folder.Path()), 1U) << "a temporary file was left";
}

TEST(OutputFile, HasTheRightsOfANewFile) {
  const TemporaryFolder folder;
  const std::string path = (folder.Path() / "result.csv").string();
  const mode_t before = umask(0027);
  EXPECT_EQ(WriteOutput(path, "", false), "");
  umask(before);
  EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(path).permissions()), 0640U);
}

TEST(OutputFile, LeavesNothingWhereItCannotBeWritten) {
  const TemporaryFolder folder;
  const std::string taken = (folder.Path() / "taken").string();
  std::filesystem::create_directory(taken);
  EXPECT_THAT(WriteOutput(taken, "text", true), HasSubstr("cannot be written"));
  EXPECT_THAT(WriteOutput((folder.Path() / "none" / "r").string(), "text", true), HasSubstr("cannot be written"));
  EXPECT_EQ(CountFiles(folder.Path()), 1U);
}

}  // namespace
}  // namespace host
