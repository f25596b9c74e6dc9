#include <string>

#include "BoardContract.h"

namespace contract {
namespace {

class FilesContract : public BoardContract {};

constexpr std::size_t Limit = 4'096;

/// The file's content; "(none)" when there is no such file.
std::string Content(const char16_t* path) { return LoadFileW(path, Limit).value_or("(none)"); }

TEST_P(FilesContract, AppendMakesTheFileAndKeepsEveryByte) {
  EXPECT_TRUE(CreateDirectoryW(u"\\NANDFlash\\Logging"));
  const char16_t* path = u"\\NANDFlash\\Logging\\Ger\u00E4t.log";
  const std::string second("\xDC\0er\n", 5);
  EXPECT_EQ(GetFileAttributesW(path), INVALID_FILE_ATTRIBUTES);
  EXPECT_TRUE(AppendFileW(path, "first\r\n"));
  EXPECT_TRUE(AppendFileW(path, second));
  EXPECT_EQ(Content(path), "first\r\n" + second);
  EXPECT_EQ(GetFileAttributesW(path), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(FindFirstFileW(path).value().nBytes, 12U);
  EXPECT_FALSE(LoadFileW(path, 11).has_value());
  EXPECT_TRUE(LoadFileW(path, 12).has_value());
  EXPECT_TRUE(DeleteFileW(path));
  EXPECT_EQ(Content(path), "(none)");
  EXPECT_FALSE(DeleteFileW(path));
}

TEST_P(FilesContract, FoldersAreMadeOneAtATime) {
  EXPECT_EQ(GetFileAttributesW(u"\\NANDFlash"), FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_FALSE(CreateDirectoryW(u"\\NANDFlash\\a\\b"));
  EXPECT_TRUE(CreateDirectoryW(u"\\NANDFlash\\a"));
  EXPECT_FALSE(CreateDirectoryW(u"\\NANDFlash\\a"));
  EXPECT_TRUE(CreateDirectoryW(u"\\NANDFlash\\a\\b"));
  EXPECT_TRUE(FindFirstFileW(u"\\NANDFlash\\a\\b").value().bDirectory);
  EXPECT_FALSE(LoadFileW(u"\\NANDFlash\\a", Limit).has_value());
  EXPECT_FALSE(AppendFileW(u"\\NANDFlash\\a", "x"));
}

TEST_P(FilesContract, WithoutTheCardEveryWriteFailsAndMakesNoFolder) {
  const char16_t* path = u"\\SDMemory\\ErrorCodeList.csv";
  EXPECT_TRUE(AppendFileW(u"\\NANDFlash\\source", "x"));
  EXPECT_FALSE(AppendFileW(path, "x"));
  EXPECT_FALSE(ReplaceFileW(path, "x"));
  EXPECT_FALSE(CopyFileW(u"\\NANDFlash\\source", path));
  EXPECT_EQ(GetFileAttributesW(u"\\SDMemory"), INVALID_FILE_ATTRIBUTES);
  EXPECT_FALSE(FindFirstFileW(path).has_value());
}

TEST_P(FilesContract, ReplaceAndCopyPutTheNewContentInTheOldOnesPlace) {
  const char16_t* path = u"\\NANDFlash\\settings.cfg";
  const char16_t* copy = u"\\NANDFlash\\copy";
  for (const std::string content : {"SerialNumber=1\n", "", "a longer content than before\n", "short"}) {
    EXPECT_TRUE(ReplaceFileW(path, content));
    EXPECT_TRUE(CopyFileW(path, copy));
    EXPECT_EQ(Content(path) + Content(copy), content + content);
  }
  EXPECT_FALSE(CopyFileW(u"\\NANDFlash\\missing", copy));
  EXPECT_EQ(Content(copy), "short");
}

TEST_P(FilesContract, AFullDiskFailsTheWriteAndLeavesWhatWasThere) {
  const char16_t* path = u"\\NANDFlash\\file";
  EXPECT_TRUE(AppendFileW(path, "old"));
  m_pWorld->SetDiskFull(u"\\NANDFlash", true);
  EXPECT_FALSE(AppendFileW(path, "new"));
  EXPECT_FALSE(ReplaceFileW(path, "new"));
  EXPECT_FALSE(CopyFileW(path, u"\\NANDFlash\\other"));
  EXPECT_EQ(Content(path), "old");
  m_pWorld->SetDiskFull(u"\\NANDFlash", false);
  EXPECT_TRUE(AppendFileW(path, "new"));
  EXPECT_EQ(Content(path), "oldnew");
}

TEST_P(FilesContract, NothingOutsideTheRootCanBeNamed) {
  EXPECT_TRUE(AppendFileW(u"\\NANDFlash\\inside", "x"));
  for (const char16_t* path : {u"\\..\\escaped", u"\\NANDFlash\\..\\..\\escaped", u"..\\escaped", u"/tmp/escaped",
                               u"\\NANDFlash/../../escaped", u"../escaped", u""}) {
    const std::string shown = ToUtf8(path);
    EXPECT_FALSE(AppendFileW(path, "x")) << shown;
    EXPECT_FALSE(ReplaceFileW(path, "x")) << shown;
    EXPECT_FALSE(CopyFileW(u"\\NANDFlash\\inside", path)) << shown;
    EXPECT_FALSE(LoadFileW(path, Limit).has_value()) << shown;
    EXPECT_FALSE(CreateDirectoryW(path)) << shown;
    EXPECT_FALSE(DeleteFileW(path)) << shown;
  }
}

INSTANTIATE_TEST_SUITE_P(Boards, FilesContract, AllBoards(), BoardName);

}  // namespace
}  // namespace contract
