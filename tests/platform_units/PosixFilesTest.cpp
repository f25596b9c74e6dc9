#include <sys/stat.h>

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/posix/PosixFiles.h"
#include "support/TemporaryFolder.h"

namespace photometer::platform {
namespace {

using tests::TemporaryFolder;

constexpr std::size_t Limit = 1'000'000;

class PosixFilesTest : public testing::Test {
 protected:
  PosixFilesTest() : m_files(m_folder.At("root"), {}) { m_folder.MakeFolder("root/NANDFlash"); }

  TemporaryFolder m_folder;
  PosixFiles m_files;
};

TEST_F(PosixFilesTest, NothingLeadsOutOfTheRoot) {
  m_folder.Write("secret/file", "secret");
  m_folder.Write("root/NANDFlash/own", "own");
  std::filesystem::create_symlink("../../secret/file", m_folder.At("root/NANDFlash/link"));
  std::filesystem::create_symlink("../../secret/new", m_folder.At("root/NANDFlash/dangling"));
  std::filesystem::create_symlink(m_folder.At("secret"), m_folder.At("root/Linked"));
  std::filesystem::create_symlink("own", m_folder.At("root/NANDFlash/inside"));
  const std::u16string paths[] = {
      u"\\NANDFlash\\..\\NANDFlash\\own",
      u"\\.\\NANDFlash\\own",
      u"\\NANDFlash\\link",
      u"\\NANDFlash\\dangling",
      u"\\NANDFlash\\inside",
      u"\\Linked\\file",
      u"\\Linked\\new",
      u"\\C:\\secret",
      u"NANDFlash\\own",
      u"\\\\NANDFlash\\own",
      u"\\NANDFlash\\own\\",
      std::u16string(u"\\NANDFlash\\own\0", 15),
      u"\\NANDFlash\\o\nwn",
  };
  for (const std::u16string& path : paths) {
    const std::string name = testing::PrintToString(path);
    EXPECT_FALSE(m_files.Read(path, Limit).has_value()) << name;
    EXPECT_FALSE(m_files.Append(path, "x")) << name;
    EXPECT_FALSE(m_files.CreateDirectory(path)) << name;
    EXPECT_FALSE(m_files.Copy(path, u"\\NANDFlash\\copy")) << name;
    EXPECT_FALSE(path != u"\\Linked\\file" && m_files.GetStatus(path).has_value()) << name;
  }
  // In the place of a link a file of its own is put; what the link led to is untouched.
  EXPECT_TRUE(m_files.Replace(u"\\NANDFlash\\link", "new"));
  EXPECT_TRUE(m_files.Delete(u"\\NANDFlash\\dangling"));
  EXPECT_FALSE(m_files.Replace(u"\\Linked\\file", "new"));
  EXPECT_FALSE(m_files.Delete(u"\\Linked\\file"));
  EXPECT_EQ(m_folder.Read("secret/file"), "secret");
  EXPECT_EQ(m_folder.Entries("secret").size(), 1U);
  EXPECT_EQ(m_folder.Read("root/NANDFlash/own"), "own");
}

TEST_F(PosixFilesTest, AbsentFoldersAndOddFilesFailCleanly) {
  ASSERT_EQ(::mkfifo(m_folder.At("root/NANDFlash/pipe").c_str(), 0600), 0);
  for (const char16_t* path : {u"\\SDMemory\\ErrorCodeList.csv", u"\\NANDFlash\\pipe", u"\\NANDFlash", u"\\"}) {
    EXPECT_FALSE(m_files.Append(path, "x")) << testing::PrintToString(path);
    EXPECT_FALSE(m_files.Read(path, Limit).has_value()) << testing::PrintToString(path);
  }
  EXPECT_FALSE(m_files.GetStatus(u"\\NANDFlash\\pipe").has_value());
  EXPECT_FALSE(m_files.Copy(u"\\NANDFlash\\absent", u"\\NANDFlash\\copy"));
  PosixFiles nowhere(m_folder.At("absent"), {});
  EXPECT_FALSE(nowhere.Append(u"\\file", "x"));
  EXPECT_FALSE(nowhere.GetStatus(u"\\").has_value());
}

TEST_F(PosixFilesTest, ReplaceThatFailsLeavesOnlyTheOldContent) {
  m_folder.Write("root/NANDFlash/Folder/inside", "old");
  EXPECT_FALSE(m_files.Replace(u"\\NANDFlash\\Folder", "new"));
  EXPECT_EQ(m_folder.Read("root/NANDFlash/Folder/inside"), "old");
  EXPECT_THAT(m_folder.Entries("root/NANDFlash"), testing::ElementsAre("Folder"));
}

TEST_F(PosixFilesTest, LinesOfManyThreadsStayWhole) {
  std::vector<std::thread> threads;
  for (char letter = 'a'; letter <= 'd'; ++letter) {
    threads.emplace_back([this, letter] {
      for (int iLine = 0; iLine < 200; ++iLine) {
        EXPECT_TRUE(m_files.Append(u"\\NANDFlash\\Gr\u00FCn.log", std::string(99, letter) + "\n"));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const std::string text = m_folder.Read("root/NANDFlash/Gr\xC3\xBCn.log");
  ASSERT_EQ(text.size(), 4U * 200U * 100U);
  for (std::size_t nLine = 0; nLine < text.size(); nLine += 100) {
    EXPECT_EQ(text.substr(nLine, 100), std::string(99, text[nLine]) + "\n");
  }
}

TEST_F(PosixFilesTest, TheProgramHasAnInstrumentPath) {
  EXPECT_EQ(m_files.GetModuleFileName(), u"\\Application\\test_platform_units");
  EXPECT_EQ(PosixFiles("/", u"\\NANDFlash\\UI.exe").GetModuleFileName(), u"\\NANDFlash\\UI.exe");
}

}  // namespace
}  // namespace photometer::platform
