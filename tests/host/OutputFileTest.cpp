#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OutputFile.h"
#include "host/TemporaryFolder.h"
#include "support/FailingSystemCalls.h"

namespace host {
namespace {

namespace tests = photometer::tests;

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

TEST(OutputFile, ReplacedKeepsItsRightsAndItsLink) {
  const TemporaryFolder folder;
  const std::string path = (folder.Path() / "result.csv").string();
  const std::string linked = (folder.Path() / "link").string();
  EXPECT_EQ(WriteOutput(path, "first", false), "");
  std::filesystem::permissions(path, std::filesystem::perms::owner_read);
  std::filesystem::create_symlink("result.csv", linked);
  EXPECT_THAT(WriteOutput(linked, "second", false), HasSubstr("is there already"));
  EXPECT_EQ(WriteOutput(linked, "second", true), "");
  EXPECT_TRUE(std::filesystem::is_symlink(linked));
  EXPECT_EQ(Contents(path), "second");
  EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(path).permissions()), 0400U);
}

TEST(OutputFile, AFailedCallLeavesNoHalfAFile) {
  for (const bool bForce : {false, true}) {
    for (const tests::CallFault fault : {tests::CallFault::Fails, tests::CallFault::FailsHalfway}) {
      const TemporaryFolder folder;
      const std::string path = (folder.Path() / "result.csv").string();
      if (bForce) {
        EXPECT_EQ(WriteOutput(path, "old", false), "");
      }
      // Write, fsync, renaming; what fails behind them, the folder's own fsync, is no reason to complain.
      for (int n = 1; n <= 3; ++n) {
        tests::ArmSystemCall(n, fault);
        EXPECT_THAT(WriteOutput(path, "new contents", bForce), HasSubstr("cannot be written")) << n;
        EXPECT_TRUE(tests::DisarmSystemCalls());
        EXPECT_EQ(Contents(path), bForce ? "old" : "");
        EXPECT_EQ(CountFiles(folder.Path()), bForce ? 1U : 0U);
      }
    }
  }
}

TEST(OutputFile, IsNoDevice) {
  EXPECT_THAT(ComplainAboutOutput("/dev/null", true), HasSubstr("is a device or a pipe"));
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
