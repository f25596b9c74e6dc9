#include <sys/stat.h>

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OutputFile.h"
#include "support/FailingSystemCalls.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

namespace tests = photometer::tests;

using testing::HasSubstr;

TEST(OutputFile, IsReplacedOnlyByForce) {
  const tests::TemporaryFolder folder;
  const std::string path = folder.At("result.csv");
  EXPECT_EQ(ComplainAboutOutput(path, false), "");
  EXPECT_EQ(WriteOutput(path, "first", false), "");
  EXPECT_THAT(ComplainAboutOutput(path, false), HasSubstr("--force"));
  // As if the file had come while the instrument measured.
  EXPECT_THAT(WriteOutput(path, "second", false), HasSubstr("is there already"));
  EXPECT_EQ(folder.Read("result.csv"), "first");
  EXPECT_EQ(ComplainAboutOutput(path, true), "");
  EXPECT_EQ(WriteOutput(path, "third", true), "");
  EXPECT_EQ(folder.Read("result.csv"), "third");
  EXPECT_EQ(folder.Entries(".").size(), 1U) << "a temporary file was left";
}

TEST(OutputFile, HasTheRightsOfANewFile) {
  const tests::TemporaryFolder folder;
  const std::string path = folder.At("result.csv");
  const mode_t before = umask(0027);
  EXPECT_EQ(WriteOutput(path, "", false), "");
  umask(before);
  EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(path).permissions()), 0640U);
}

TEST(OutputFile, ReplacedKeepsItsRightsAndItsLink) {
  const tests::TemporaryFolder folder;
  const std::string path = folder.At("result.csv");
  const std::string linked = folder.At("link");
  EXPECT_EQ(WriteOutput(path, "first", false), "");
  std::filesystem::permissions(path, std::filesystem::perms::owner_read);
  std::filesystem::create_symlink("result.csv", linked);
  EXPECT_THAT(WriteOutput(linked, "second", false), HasSubstr("is there already"));
  EXPECT_EQ(WriteOutput(linked, "second", true), "");
  EXPECT_TRUE(std::filesystem::is_symlink(linked));
  EXPECT_EQ(folder.Read("result.csv"), "second");
  EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(path).permissions()), 0400U);
}

TEST(OutputFile, AFailedCallLeavesNoHalfAFile) {
  for (const bool bForce : {false, true}) {
    for (const tests::CallFault fault : {tests::CallFault::Fails, tests::CallFault::FailsHalfway}) {
      const tests::TemporaryFolder folder;
      const std::string path = folder.At("result.csv");
      if (bForce) {
        EXPECT_EQ(WriteOutput(path, "old", false), "");
      }
      // Write, fsync, renaming; what fails behind them, the folder's own fsync, is no reason to complain.
      for (int n = 1; n <= 3; ++n) {
        tests::ArmSystemCall(n, fault);
        EXPECT_THAT(WriteOutput(path, "new contents", bForce), HasSubstr("cannot be written")) << n;
        EXPECT_TRUE(tests::DisarmSystemCalls());
        EXPECT_EQ(folder.Read("result.csv"), bForce ? "old" : "");
        EXPECT_EQ(folder.Entries(".").size(), bForce ? 1U : 0U);
      }
    }
  }
}

TEST(OutputFile, LeavesNothingWhereItCannotBeWritten) {
  const tests::TemporaryFolder folder;
  const std::string taken = folder.At("taken");
  folder.MakeFolder("taken");
  EXPECT_THAT(ComplainAboutOutput("/dev/null", true), HasSubstr("is a device or a pipe"));
  EXPECT_THAT(WriteOutput(taken, "text", true), HasSubstr("cannot be written"));
  EXPECT_THAT(WriteOutput(folder.At("none/r"), "text", true), HasSubstr("cannot be written"));
  EXPECT_EQ(folder.Entries(".").size(), 1U);
}

}  // namespace
}  // namespace host
