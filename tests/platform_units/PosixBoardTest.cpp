#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "platform/posix/PosixBoard.h"
#include "support/TemporaryFolder.h"

namespace photometer::platform {
namespace {

using tests::TemporaryFolder;

BoardFile FileOf(const TemporaryFolder& folder, const std::string& text) {
  return std::get<BoardFile>(BoardFile::Parse(text, folder.At("board.toml")));
}

TEST(PosixBoard, SetsUpWhatTheInstrumentAlwaysHas) {
  const TemporaryFolder folder;
  PosixBoard board(FileOf(folder, "root = \".\"\nprogram = '\\Application\\Main\\UI.exe'"));
  EXPECT_EQ(board.Problem(), "");
  EXPECT_TRUE(board.GetFiles().GetStatus(u"\\NANDFlash")->bDirectory);
  EXPECT_TRUE(board.GetFiles().GetStatus(u"\\Application\\Main")->bDirectory);
  EXPECT_FALSE(board.GetFiles().GetStatus(u"\\SDMemory").has_value());
  EXPECT_NE(board.GetRegistry().OpenKey(u"\\Veltranometrik"), 0U);
  EXPECT_EQ(board.GetPins().OpenHandle(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(board.GetSerialPorts().Open(u"COM2:"), INVALID_HANDLE_VALUE);
}

TEST(PosixBoard, ProblemsNameTheKey) {
  const TemporaryFolder folder;
  folder.MakeFolder("good");
  folder.Write("bad/NANDFlash", "a file");
  const std::pair<std::string, std::string> cases[] = {
      {"root = \"absent\"", ":1: key \"root\""},
      {"root = \"bad\"", ":1: key \"root\""},
      {"root = \"good\"\n[pins]\nfolder = \"absent\"", ":3: key \"pins.folder\""},
      {"root = \"good\"\n[registry]\nfile = \"absent/file\"", ":3: key \"registry.file\""},
      {"root = \"good\"\n[debug]\noutput = \"file\"\nfile = \"absent/file\"", ":4: key \"debug.file\""}};
  for (const auto& [text, place] : cases) {
    const PosixBoard board(FileOf(folder, text));
    EXPECT_EQ(board.Problem().find(folder.At("board.toml") + place), 0U) << board.Problem();
    EXPECT_NE(board.Problem().find("; "), std::string::npos) << board.Problem();
  }
}

TEST(PosixBoard, DebugOutputGoesWhereTheFileSays) {
  const TemporaryFolder folder;
  // To a file it goes in the tests of all boards.
  PosixBoard onError(FileOf(folder, "root = \".\"\n[debug]\noutput = \"stderr\""));
  testing::internal::CaptureStderr();
  onError.GetDebugOutput().Write(u"100 %s\n\r");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "100 %s\n\r");
}

TEST(PosixBoard, TheDefaultBoardComesFromTheNamedFile) {
  const TemporaryFolder folder;
  Board* pBefore = SetBoard(nullptr);
  ::setenv("PHOTOMETER_BOARD", folder.Write("board.toml", "root = \"absent\"").c_str(), 1);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(OpenDefaultBoard());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("photometer: " + folder.At("board.toml:1")));

  folder.Write("board.toml", "root = \".\"");
  EXPECT_TRUE(OpenDefaultBoard());
  const Board* pDefault = &CurrentBoard();
  EXPECT_TRUE(AppendFileW(u"\\NANDFlash\\file", "x"));
  EXPECT_EQ(folder.Read("NANDFlash/file"), "x");
  // A board that a host has set stays.
  PosixBoard own(FileOf(folder, "root = \".\""));
  EXPECT_EQ(SetBoard(&own), pDefault);
  EXPECT_TRUE(OpenDefaultBoard());
  EXPECT_EQ(&CurrentBoard(), &own);
  SetBoard(pBefore);
  ::unsetenv("PHOTOMETER_BOARD");
}

}  // namespace
}  // namespace photometer::platform
