// The settings file on a real file system: what a crash leaves, and what files of other hands do to a reader.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "photometer/Settings.h"
#include "platform/Platform.h"
#include "platform/posix/PosixBoard.h"
#include "support/FailingSystemCalls.h"
#include "support/TemporaryFolder.h"

namespace photometer {
namespace {

const std::string FileName = "Application/settings.cfg";

class SettingsFileTest : public testing::Test {
 protected:
  SettingsFileTest() : m_board(File(m_folder)) {
    m_folder.MakeFolder("Application");
    platform::SetBoard(&m_board);
    SetDefaultSettings(&m_settings);
    EXPECT_EQ(WriteSettings(&m_settings), S_OK);
    m_strOld = m_folder.Read(FileName);
    m_settings.Manufacturer = u"New";
    EXPECT_EQ(WriteSettings(&m_settings), S_OK);
    m_strNew = m_folder.Read(FileName);
  }
  ~SettingsFileTest() override { platform::SetBoard(nullptr); }

  static platform::BoardFile File(const tests::TemporaryFolder& folder) {
    platform::BoardFile file;
    file.root = folder.Path();
    file.registryFile = folder.At("registry.txt");
    file.program = u"\\Application\\Host.exe";
    return file;
  }

  /// "old" or "new", or what the file has become.
  [[nodiscard]] std::string State() const {
    const std::string content = m_folder.Read(FileName);
    return content == m_strOld ? "old" : content == m_strNew ? "new" : "neither: " + content;
  }

  tests::TemporaryFolder m_folder;
  platform::PosixBoard m_board;
  InstrumentSettings m_settings;
  std::string m_strOld;
  std::string m_strNew;
};

/// Write, fsync, rename; behind the renaming only the folder's own fsync can fail.
TEST_F(SettingsFileTest, AFailedCallOrAPowerCutLeavesTheOldOrTheNewFile) {
  using tests::CallFault;
  for (const CallFault fault : {CallFault::Fails, CallFault::FailsHalfway, CallFault::EndsProcess}) {
    for (int n = 1; n <= 5; ++n) {
      SCOPED_TRACE(testing::Message() << static_cast<int>(fault) << ", call " << n);
      m_folder.Write(FileName, m_strOld);
      const pid_t child = fork();
      if (child == 0) {
        tests::ArmSystemCall(n, fault);
        _exit(WriteSettings(&m_settings) == S_OK ? 0 : 1);
      }
      int iStatus = 0;
      ASSERT_EQ(waitpid(child, &iStatus, 0), child);
      EXPECT_EQ(WEXITSTATUS(iStatus), n == 5 ? 0 : fault == CallFault::EndsProcess ? tests::EndedByFault : 1);
      EXPECT_EQ(State(), n <= 3 ? "old" : "new");
      EXPECT_TRUE(fault == CallFault::EndsProcess || m_folder.Entries("Application").size() == 1)
          << "something was left";
      InstrumentSettings settings = m_settings;
      EXPECT_EQ(ReadSettings(&settings), S_OK);
      EXPECT_EQ(WriteSettings(&settings), S_OK) << "what the cut left is in the way";
    }
  }
}

TEST_F(SettingsFileTest, HostileFilesHaveADefinedResult) {
  std::string entries = "StartPoints=";
  for (int i = 0; i < 1'000'000; ++i) {
    entries += "500.0,1.000;";
  }
  const struct {
    const char* what;
    std::string content;
    /// Made so long with zero bytes; 0: as it is.
    std::uintmax_t nSize;
    HRESULT hResult;
    std::string manufacturer;
  } cases[] = {
      {"no line end", m_strNew.substr(0, m_strNew.size() - 1), 0, S_OK, "New"},
      {"one line of a gigabyte", "Manufacturer=", std::uintmax_t{1} << 30U, E_FAIL, "before"},
      {"a line as long as a file may be", "Manufacturer=", 16U << 20U, E_FAIL, ""},
      {"zero bytes in a key", std::string("Manufac\0turer=no\nManufacturer=yes\n", 34), 0, E_FAIL, "yes"},
      {"a million entries, cut to whole ones", m_strNew + entries + "\n", 0, E_FAIL, "New"},
      {"byte order mark", "\xEF\xBB\xBF" + m_strNew, 0, E_FAIL, "New"},
  };
  for (const auto& one : cases) {
    m_folder.Write(FileName, one.content);
    if (one.nSize > 0) {
      std::filesystem::resize_file(m_folder.At(FileName), one.nSize);
    }
    SetDefaultSettings(&m_settings);
    m_settings.Manufacturer = u"before";
    EXPECT_EQ(ReadSettings(&m_settings), one.hResult) << one.what;
    EXPECT_EQ(platform::ToUtf8(m_settings.Manufacturer), one.manufacturer) << one.what;
    EXPECT_LE(m_settings.StartPoints.size(), 512U / 12) << one.what;
    for (const PointListEntry& entry : m_settings.StartPoints) {
      EXPECT_EQ(entry.dWavelength, 500.0) << one.what;
    }
  }
}

/// A record that no file has given; those that one has given are the fuzz target's.
TEST_F(SettingsFileTest, WhatWasWrittenReadsBackToTheSameBytes) {
  m_settings.Manufacturer.assign(700, u'\u20AC');
  m_settings.F0 = std::numeric_limits<double>::quiet_NaN();
  m_settings.F1 = -std::numeric_limits<double>::infinity();
  m_settings.StartPoints.assign(100, {-345.25, 1e9});
  m_settings.TurbCalRef.assign(49, {1, 2});
  ASSERT_EQ(WriteSettings(&m_settings), S_OK);
  const std::string written = m_folder.Read(FileName);

  InstrumentSettings read;
  SetDefaultSettings(&read);
  EXPECT_EQ(ReadSettings(&read), S_OK);
  EXPECT_EQ(read.TurbCalRef.size(), 49U);
  ASSERT_FALSE(read.StartPoints.empty());
  EXPECT_EQ(read.StartPoints.back().dValue, 1e9) << "half an entry was read";
  EXPECT_EQ(WriteSettings(&read), S_OK);
  EXPECT_EQ(m_folder.Read(FileName), written);
}

}  // namespace
}  // namespace photometer
