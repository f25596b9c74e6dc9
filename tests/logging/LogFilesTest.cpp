#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "logging/LogFiles.h"
#include "platform/Forwarding.h"
#include "platform/Platform.h"
#include "platform/virtual/VirtualBoard.h"

namespace photometer {
namespace {

using platform::SetBoard;

const std::string Stamp = "17.11.2026 22:49:44 |  ";
const std::string Separator(80, ':');
const std::string Lost = "(no file)";
constexpr const char16_t* Folder = u"\\NANDFlash\\Logging";
constexpr const char16_t* Card = u"\\SDMemory";
constexpr std::size_t Limit = 1048576;

/// A board whose files can refuse to be copied, and that counts what is appended.
class WatchedFiles final : public platform::ForwardingFiles {
 public:
  using ForwardingFiles::ForwardingFiles;

  bool Append(const std::u16string& path, std::string_view bytes) override {
    m_Appended.emplace_back(bytes);
    return ForwardingFiles::Append(path, bytes);
  }
  bool Copy(const std::u16string& from, const std::u16string& to) override {
    return m_bCopies && ForwardingFiles::Copy(from, to);
  }

  std::vector<std::string> m_Appended;
  bool m_bCopies = true;
};

class EarlyClock final : public platform::ForwardingKernel {
 public:
  using ForwardingKernel::ForwardingKernel;

  platform::SYSTEMTIME GetLocalTime() override { return {2027, 1, 6, 2, 3, 4, 5, 6}; }
};

class LogFilesTest : public testing::Test {
 protected:
  LogFilesTest() : m_Files(m_VirtualBoard.GetFiles()), m_Board(m_VirtualBoard) {
    m_Board.Replace(m_Files);
    SetBoard(&m_Board);
    m_VirtualBoard.MakeFolder(Folder);
    m_VirtualBoard.MakeFolder(Card);
  }
  ~LogFilesTest() override { SetBoard(nullptr); }

  static std::string Content(const char16_t* path) { return platform::LoadFileW(path, 4 * Limit).value_or(Lost); }
  /// Runs the action and takes the file's content away.
  static std::string Written(const std::function<void()>& action, const char16_t* path) {
    action();
    std::string content = Content(path);
    platform::DeleteFileW(path);
    return content;
  }

  platform::VirtualBoard m_VirtualBoard{{.startTime = {2026, 11, 2, 17, 22, 49, 44, 0}}};
  WatchedFiles m_Files;
  platform::ForwardingBoard m_Board;
};

TEST_F(LogFilesTest, WritesEachLineByteForByte) {
  struct Case {
    std::function<void()> action;
    const char16_t* path;
    std::string expected;
  };
  const char frame[] =
      "\x02"
      "A;1\x03";
  const char odd[] = "<STX>\0\x03\x02\n\xFC";
  const std::string longText(300, 'x');
  const std::vector<Case> cases = {
      {[] { LogPhotometer("DLL [Photometer] initialize..."); }, DeviceLogPath,
       Stamp + "DLL [Photometer] initialize...\n"},
      {[] { LogPhotometer(""); }, DeviceLogPath, Stamp + "\n"},
      {[&] { LogPhotometer(longText); }, DeviceLogPath, Stamp + longText + "\n"},
      {[] { LogPhotometerW(u"Küvette 10 µm – 5 € Ω 𝄞", FALSE); }, DeviceLogPath,
       Stamp + "K\xFCvette 10 \xB5m \x96 5 \x80 ? ?\n"},
      {[] { LogPhotometerF(FALSE, "%s\xFC %d %.2f", "Lampe", -3, 0.125); }, DeviceLogPath,
       Stamp + "Lampe\xFC -3 0.12\n"},
      {[&] { LogPhotometerF(FALSE, "%s", longText.c_str()); }, DeviceLogPath, Stamp + std::string(259, 'x') + "\n"},
      {[] { EXPECT_EQ(LogSeparator(), 1); }, DeviceLogPath, Separator + "\n"},
      {[] { LogGeneral("a", TRUE), LogGeneral("b", FALSE), LogGeneral("c", 2); }, GeneralLogPath,
       Stamp + "a\nb\n" + Stamp + "c\n"},
      {[&] { LogRoboter(frame, 5, 2); }, RoboterLogPath, Stamp + " SE: <STX>A;1<ETX>\n"},
      {[&] { LogRoboter(frame, 3, 1); }, RoboterLogPath, Stamp + "EM : <STX>A;\n"},
      {[&] { LogRoboter(odd, 10, 3); }, RoboterLogPath, Stamp + "<STX>" + '\0' + "<ETX><STX>\n\xFC\n"},
      {[] { LogRoboter(nullptr, 0, 0); }, RoboterLogPath, Stamp + "\n"},
      {[] { EXPECT_EQ(InitRoboterLog(u"gestern, früh"), 1); }, RoboterLogPath,
       Separator + "\n" + Stamp + "DLL [Roboter] initialize...\n" + Stamp +
           "Last restart of device: gestern, fr\xFCh\n"},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(Written(row.action, row.path), row.expected);
  }
}

TEST_F(LogFilesTest, StampsHaveTwoDigitsEach) {
  EarlyClock clock(m_VirtualBoard.GetKernel());
  m_Board.Replace(clock);
  std::string line = "old";
  FormatLogTimeStamp(&line);
  EXPECT_EQ(line, "02.01.2027 03:04:05 |  ");
  ReportError("A", "B", 1);
  EXPECT_EQ(Content(ErrorListPath), "02.01.2027 03:04;1.16.1;001;[A] B returned 1\n");
  m_Board.Replace(m_VirtualBoard.GetKernel());
}

TEST_F(LogFilesTest, MirrorsOnlyWhenAskedAndUnchanged) {
  LogPhotometerW(u"quiet", FALSE);
  EXPECT_EQ(m_VirtualBoard.DebugText(), u"");
  LogPhotometerW(u"100 %s Ω\n\r", TRUE);
  LogPhotometerF(TRUE, "%d nm ", 360);
  EXPECT_EQ(m_VirtualBoard.DebugText(), u"100 %s Ω\n\r360 nm ");
}

TEST_F(LogFilesTest, ReportsErrorsInBothFiles) {
  struct Case {
    std::string procedure, detail;
    int iError;
    std::string number, message;
  };
  const std::string longName(300, 'n');
  const std::vector<Case> cases = {
      {"Pump", "UpdatePumpParProc", 613, "613", "[Pump] UpdatePumpParProc returned 613"},
      {"ScanProc", "SetFilter", 42, "042", "[ScanProc] SetFilter returned 42"},
      {"Measure", "", 7, "007", "[Measure]  returned 7"},
      {"Measure", "GetADValue", 12345, "12345", "[Measure] GetADValue returned 12345"},
      {"Measure", "%n;x", -5, "-05", "[Measure] %n;x returned -5"},
      {longName, "SetFilter", 1, "001", "[" + std::string(258, 'n')},
      {"A", longName, 1, "001", "[A] " + std::string(255, 'n')},
  };
  for (const Case& row : cases) {
    m_Files.m_Appended.clear();
    ReportError(row.procedure, row.detail, row.iError);
    EXPECT_EQ(Content(DeviceLogPath), Stamp + row.message + "\n");
    EXPECT_EQ(Content(ErrorListPath), "17.11.2026 22:49;1.16.1;" + row.number + ";" + row.message + "\n");
    EXPECT_EQ(m_Files.m_Appended.size(), 2U) << "each line is one write";
    platform::DeleteFileW(DeviceLogPath);
    platform::DeleteFileW(ErrorListPath);
  }
}

TEST_F(LogFilesTest, LosesOnlyTheLineWhosePlaceIsMissing) {
  m_VirtualBoard.RemoveFolder(Card);
  ReportError("Pump", "Pump", 501);
  EXPECT_EQ(Content(DeviceLogPath), Stamp + "[Pump] Pump returned 501\n");
  EXPECT_EQ(Content(ErrorListPath), Lost);

  m_VirtualBoard.MakeFolder(Card);
  m_VirtualBoard.RemoveFolder(Folder);
  ReportError("Pump", "Pump", 502);
  EXPECT_EQ(Content(DeviceLogPath), Lost);
  EXPECT_EQ(Content(ErrorListPath), "17.11.2026 22:49;1.16.1;502;[Pump] Pump returned 502\n");

  m_VirtualBoard.MakeFolder(Folder);
  m_VirtualBoard.SetDiskFull(Folder, true);
  LogPhotometer("lost");
  m_VirtualBoard.SetDiskFull(Folder, false);
  LogPhotometer("kept");
  EXPECT_EQ(Content(DeviceLogPath), Stamp + "kept\n");
}

TEST_F(LogFilesTest, BacksUpFromTheLimit) {
  struct Case {
    std::u16string log;
    std::size_t nBytes;
    std::u16string backup;
    bool bMoved;
  };
  const std::u16string folder = std::u16string(Folder) + u"\\";
  const std::vector<Case> cases = {
      {folder + u"Photometer.log", Limit, folder + u"Photometer.bak", true},
      {folder + u"Photometer.log", Limit - 1, folder + u"Photometer.bak", false},
      {folder + u"Roboter.2.log", Limit + 1, folder + u"Roboter.2.bak", true},
      {folder + u"Photometer", Limit, folder + u"Photometer.bak", false},
      {folder + u"Photometer.bak", Limit, folder + u"Photometer.log", false},
  };
  for (const Case& row : cases) {
    const std::string bytes(row.nBytes, 'b');
    platform::ReplaceFileW(row.log.c_str(), bytes);
    platform::ReplaceFileW(row.backup.c_str(), "old backup");
    BackupLogFile(row.log.c_str(), LogBackupLimit);
    EXPECT_TRUE(Content(row.log.c_str()) == (row.bMoved ? Lost : bytes)) << row.nBytes;
    EXPECT_TRUE(Content(row.backup.c_str()) == (row.bMoved ? bytes : "old backup")) << row.nBytes;
    platform::DeleteFileW(row.log.c_str());
    platform::DeleteFileW(row.backup.c_str());
  }
}

TEST_F(LogFilesTest, KeepsTheLogWhenItCannotBeCopied) {
  LogPhotometer("precious");
  m_Files.m_bCopies = false;
  BackupLogFile(DeviceLogPath, 1);
  EXPECT_EQ(Content(DeviceLogPath), Stamp + "precious\n");
}

TEST_F(LogFilesTest, PreparesFolderAndAllThreeLogs) {
  m_VirtualBoard.RemoveFolder(Folder);
  m_VirtualBoard.MakeFolder(u"\\NANDFlash");
  PrepareLogFiles();
  LogPhotometer("first");
  EXPECT_EQ(Content(DeviceLogPath), Stamp + "first\n");

  const std::string bytes(Limit, 'b');
  for (const char16_t* path : {GeneralLogPath, DeviceLogPath, RoboterLogPath, ErrorListPath}) {
    platform::ReplaceFileW(path, bytes);
  }
  PrepareLogFiles();
  for (const char16_t* path : {GeneralLogPath, DeviceLogPath, RoboterLogPath}) {
    EXPECT_EQ(Content(path), Lost);
  }
  EXPECT_TRUE(Content(u"\\NANDFlash\\Logging\\Logging.bak") == bytes);
  EXPECT_TRUE(Content(u"\\NANDFlash\\Logging\\Photometer.bak") == bytes);
  EXPECT_TRUE(Content(u"\\NANDFlash\\Logging\\Roboter.bak") == bytes);
  EXPECT_TRUE(Content(ErrorListPath) == bytes);
}

}  // namespace
}  // namespace photometer
