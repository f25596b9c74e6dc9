#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "logging/LogFiles.h"
#include "platform/Platform.h"
#include "platform/TracingBoard.h"
#include "platform/Transcript.h"
#include "platform/virtual/VirtualBoard.h"

namespace photometer {
namespace {

using platform::SetBoard;

const std::string Stamp = "07.02.2026 03:04:05 |  ";
const std::string Separator(80, ':');
const std::string Lost = "(no file)";
constexpr const char16_t* Folder = u"\\NANDFlash\\Logging";
constexpr const char16_t* Card = u"\\SDMemory";
constexpr std::size_t Limit = 1048576;

class LogFilesTest : public testing::Test {
 protected:
  LogFilesTest() {
    SetBoard(&m_Board);
    m_VirtualBoard.MakeFolder(Folder);
    m_VirtualBoard.MakeFolder(Card);
  }
  ~LogFilesTest() override { SetBoard(nullptr); }

  static std::string Content(const char16_t* path) { return platform::LoadFileW(path, 4 * Limit).value_or(Lost); }
  /// The file's content, which is taken away.
  static std::string Take(const char16_t* path) {
    std::string content = Content(path);
    platform::DeleteFileW(path);
    return content;
  }

  platform::VirtualBoard m_VirtualBoard{{.startTime = {2026, 2, 6, 7, 3, 4, 5, 6}}};
  platform::Transcript m_Transcript;
  platform::TracingBoard m_Board{m_VirtualBoard, m_Transcript};
};

TEST_F(LogFilesTest, WritesEachLineByteForByte) {
  const char odd[] =
      "\x02"
      "A;1\x03\0\n\xFC";
  const std::string longText(300, 'x');
  const struct {
    std::function<void()> action;
    const char16_t* path;
    std::string expected;
  } cases[] = {
      {[&] { LogPhotometer(longText); }, DeviceLogPath, Stamp + longText + "\n"},
      {[] { LogPhotometerW(u"Küvette 10 µm – 5 € Ω 𝄞", FALSE); }, DeviceLogPath,
       Stamp + "K\xFCvette 10 \xB5m \x96 5 \x80 ? ?\n"},
      {[] { LogPhotometerF(FALSE, "%s\xFC %d %.2f", "Lampe", -3, 0.125); }, DeviceLogPath,
       Stamp + "Lampe\xFC -3 0.12\n"},
      {[&] { LogPhotometerF(FALSE, "%s", longText.c_str()); }, DeviceLogPath, Stamp + std::string(259, 'x') + "\n"},
      {[] { EXPECT_EQ(LogSeparator(), 1); }, DeviceLogPath, Separator + "\n"},
      {[] { LogGeneral("a", TRUE), LogGeneral("b", FALSE), LogGeneral("c", 2); }, GeneralLogPath,
       Stamp + "a\nb\n" + Stamp + "c\n"},
      {[&] { LogRoboter(odd, 5, 2); }, RoboterLogPath, Stamp + " SE: <STX>A;1<ETX>\n"},
      {[&] { LogRoboter(odd, 3, 1); }, RoboterLogPath, Stamp + "EM : <STX>A;\n"},
      {[&] { LogRoboter(odd + 4, 4, 3); }, RoboterLogPath, Stamp + "<ETX>" + '\0' + "\n\xFC\n"},
      {[] { LogRoboter(nullptr, 0, 0); }, RoboterLogPath, Stamp + "\n"},
      {[] { EXPECT_EQ(InitRoboterLog(u"gestern, früh"), 1); }, RoboterLogPath,
       Separator + "\n" + Stamp + "DLL [Roboter] initialize...\n" + Stamp +
           "Last restart of device: gestern, fr\xFCh\n"},
  };
  for (const auto& c : cases) {
    c.action();
    EXPECT_EQ(Take(c.path), c.expected);
  }
}

TEST_F(LogFilesTest, MirrorsOnlyWhenAskedAndUnchanged) {
  LogPhotometerW(u"quiet", FALSE);
  LogPhotometerW(u"100 %s Ω\n\r", TRUE);
  LogPhotometerF(TRUE, "%d nm ", 360);
  EXPECT_EQ(m_VirtualBoard.DebugText(), u"100 %s Ω\n\r360 nm ");
}

TEST_F(LogFilesTest, ReportsErrorsInBothFiles) {
  const std::string longName(300, 'n');
  const struct {
    std::string procedure, detail;
    int iError;
    std::string number, message;
  } cases[] = {
      {"ScanProc", "SetFilter", 42, "042", "[ScanProc] SetFilter returned 42"},
      {"Measure", "", 12345, "12345", "[Measure]  returned 12345"},
      {"Measure", "%n;x", -5, "-05", "[Measure] %n;x returned -5"},
      {longName, "SetFilter", 1, "001", "[" + std::string(258, 'n')},
  };
  for (const auto& c : cases) {
    m_Transcript.Clear();
    ReportError(c.procedure, c.detail, c.iError);
    EXPECT_EQ(Take(DeviceLogPath), Stamp + c.message + "\n");
    EXPECT_EQ(Take(ErrorListPath), "07.02.2026 03:04;1.16.1;" + c.number + ";" + c.message + "\n");
    EXPECT_EQ(m_Transcript.Texts("log").size(), 2U) << "each line is one write";
  }
}

TEST_F(LogFilesTest, LosesOnlyTheLineWhosePlaceIsMissing) {
  m_VirtualBoard.RemoveFolder(Card);
  ReportError("Pump", "Pump", 501);
  EXPECT_EQ(Take(DeviceLogPath), Stamp + "[Pump] Pump returned 501\n");
  EXPECT_EQ(Content(ErrorListPath), Lost);

  m_VirtualBoard.MakeFolder(Card);
  m_VirtualBoard.SetDiskFull(Folder, true);
  ReportError("Pump", "Pump", 502);
  m_VirtualBoard.SetDiskFull(Folder, false);
  EXPECT_EQ(Take(ErrorListPath), "07.02.2026 03:04;1.16.1;502;[Pump] Pump returned 502\n");
  LogPhotometer("kept");
  EXPECT_EQ(Content(DeviceLogPath), Stamp + "kept\n");
}

TEST_F(LogFilesTest, BacksUpFromTheLimitWhatCanBeCopied) {
  const std::u16string folder = std::u16string(Folder) + u"\\";
  const struct {
    const char16_t* log;
    std::size_t nBytes;
    const char16_t* backup;
    bool bFull;
    bool bMoved;
  } cases[] = {
      {u"Photometer.log", Limit - 1, u"Photometer.bak", false, false},
      {u"Photometer.log", Limit, u"Photometer.bak", true, false},
      {u"Roboter.2.log", Limit + 1, u"Roboter.2.bak", false, true},
      {u"Photometer", Limit, u"Photometer.bak", false, false},
      {u"Photometer.bak", Limit, u"Photometer.log", false, false},
  };
  for (const auto& c : cases) {
    const std::string bytes(c.nBytes, 'b');
    const std::u16string log = folder + c.log;
    const std::u16string backup = folder + c.backup;
    platform::ReplaceFileW(log.c_str(), bytes);
    platform::ReplaceFileW(backup.c_str(), "old backup");
    m_VirtualBoard.SetDiskFull(Folder, c.bFull);
    BackupLogFile(log.c_str(), LogBackupLimit);
    m_VirtualBoard.SetDiskFull(Folder, false);
    EXPECT_TRUE(Take(log.c_str()) == (c.bMoved ? Lost : bytes)) << c.nBytes;
    EXPECT_TRUE(Take(backup.c_str()) == (c.bMoved ? bytes : "old backup")) << c.nBytes;
  }
}

TEST_F(LogFilesTest, PreparesFolderAndAllThreeLogs) {
  m_VirtualBoard.RemoveFolder(Folder);
  m_VirtualBoard.MakeFolder(u"\\NANDFlash");
  PrepareLogFiles();
  const std::string bytes(Limit, 'b');
  for (const char16_t* path : {GeneralLogPath, DeviceLogPath, RoboterLogPath, ErrorListPath}) {
    EXPECT_TRUE(platform::ReplaceFileW(path, bytes));
  }
  PrepareLogFiles();
  for (const char16_t* backup : {u"Logging.bak", u"Photometer.bak", u"Roboter.bak"}) {
    EXPECT_TRUE(Content((std::u16string(Folder) + u"\\" + backup).c_str()) == bytes);
  }
  EXPECT_EQ(Content(DeviceLogPath), Lost);
  EXPECT_TRUE(Content(ErrorListPath) == bytes);
}

}  // namespace
}  // namespace photometer
