#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "photometer/Settings.h"
#include "platform/Platform.h"
#include "platform/virtual/VirtualBoard.h"

namespace photometer {
namespace {

const std::u16string MissingMessage = u"[Tools] Missing parameter in file 'settings.cfg'.\n\r";

const std::string CalibrationList =
    "345.0,0.000;350.0,0.000;365.0,0.000;412.0,0.000;436.0,0.000;450.0,0.000;470.0,0.000;490.0,0.000;506.0,0.000;"
    "510.0,0.000;520.0,0.000;525.0,0.000;530.0,0.000;540.0,0.000;545.0,0.000;558.0,0.000;585.0,0.000;605.0,0.000;"
    "620.0,0.000;680.0,0.000;690.0,0.000;800.0,0.000;820.0,0.000;885.0,0.000";

const std::string DefaultText =
    "LowerFilterWL=375\nMiddleFilterWL=450\nUpperFilterWL=550\nRefMinWL=340\nRefMaxWL=380\n"
    "Peak1=360.7\nPeak2=453.8\nPeak3=537.0\n"
    "F0=-1771912.20088685\nF1=89325.07932532\nF2=-0.18985745\nF3=-0.00004438\n"
    "UV=true\nManufacturer=VELTRANOMETRIK GmbH & Co. KG\nModel=KESTRA-UV\nSN=0\n"
    "FA=0.00011234\nFB=-3.16358212\nFC=0.00003332\nFD=-2.67440103\n"
    "HalogenMin=330\nHalogenMax=1100\nUVMin=190\nUVMax=350\n"
    "Zeros=" +
    CalibrationList + "\nCODOffsets=" + CalibrationList + "\nNitrateOffsets=" + CalibrationList +
    "\n"
    "ZeroCalibrationDT=2000;1;1;12;0\nZeroOffsetCalibDT=2000;1;1;12;0\n"
    "TurbHighCalibrationDT=2000;1;1;12;0\nTurbLowCalibrationDT=2000;1;1;12;0\n"
    "HalLampOffset=0\nUVLampOffset=0\nHalLampFactor=1.00\nUVLampFactor=1.00\n"
    "StartPoints=\nStartPointsRef=\nVolumeMultiplier=2000\nWavelengthTest=0\nDbFlashWaitTime=15\n"
    "TurbCalHigh=\nTurbCalLow=\nTurbCalRef=\n"
    "TurbHighCalibrationDTAdjusted=2000;1;1;12;0\nTurbLowCalibrationDTAdjusted=2000;1;1;12;0\n";

/// Where the line of the key begins that `line` begins with.
std::size_t LineOf(const std::string& text, const std::string& line) {
  return text.starts_with(line.substr(0, line.find('=') + 1))
             ? 0
             : text.find("\n" + line.substr(0, line.find('=') + 1)) + 1;
}

/// The text with the line of the same key replaced.
std::string With(std::string text, const std::string& line) {
  const std::size_t nStart = LineOf(text, line);
  return text.replace(nStart, text.find('\n', nStart) - nStart, line);
}

class SettingsTest : public testing::Test {
 protected:
  SettingsTest() {
    platform::SetBoard(&m_Board);
    const std::u16string program = platform::GetModuleFileNameW();
    m_strFolder = program.substr(0, program.rfind(u'\\'));
    m_Board.MakeFolder(m_strFolder);
    SetDefaultSettings(&m_Settings);
  }
  ~SettingsTest() override { platform::SetBoard(nullptr); }

  [[nodiscard]] std::u16string Path() const { return m_strFolder + u"\\settings.cfg"; }

  HRESULT Read(const std::string& content) {
    platform::ReplaceFileW(Path().c_str(), content);
    return ReadSettings(&m_Settings, &m_bZerosChanged);
  }

  /// The record as the file has it.
  std::string Written() {
    EXPECT_EQ(WriteSettings(&m_Settings), S_OK);
    return Content();
  }
  [[nodiscard]] std::string Content() const {
    return platform::LoadFileW(Path().c_str(), 1U << 20U).value_or("no file");
  }

  platform::VirtualBoard m_Board;
  std::u16string m_strFolder;
  InstrumentSettings m_Settings;
  BOOL m_bZerosChanged = 7;
};

TEST_F(SettingsTest, DefaultsAreWrittenByteForByteAndReadBack) {
  EXPECT_EQ(Written(), DefaultText);
  EXPECT_EQ(ReadSettings(&m_Settings, &m_bZerosChanged), S_OK);
  EXPECT_EQ(m_bZerosChanged, FALSE);
  EXPECT_EQ(Read(std::regex_replace(DefaultText, std::regex("\n"), "\r\n")), S_OK);
  EXPECT_EQ(Written(), DefaultText);
  EXPECT_EQ(m_Board.DebugText(), u"");
}

TEST_F(SettingsTest, EachCountedKeyMustBeThereOnce) {
  std::istringstream lines(DefaultText);
  for (std::string line; std::getline(lines, line);) {
    const HRESULT expected = line.starts_with("WavelengthTest=") ? S_OK : E_FAIL;
    std::string missing = DefaultText;
    EXPECT_EQ(Read(missing.erase(LineOf(missing, line), line.size() + 1)), expected) << line;
    EXPECT_EQ(Read(DefaultText + line + "\n"), expected) << line;
  }
}

TEST_F(SettingsTest, TakesWhatAValueHolds) {
  struct Case {
    std::string read;
    std::string written;
    BOOL bZerosChanged = FALSE;
  };
  const std::string merged = "345.0,0.010;350.0,0.020" + CalibrationList.substr(23);
  const std::string longText(600, 't');
  const std::string hidden = "Manufacturer=" + std::string(498, 'm') + "UV=false";
  std::string points;
  std::string longPoints;
  while (points.size() < 900) {
    points += "1.0,2.000;";
    longPoints += "1.0000,2.0000;";
  }
  const std::vector<Case> cases = {
      {"UV=TRUE", "UV=false"},
      {"HalogenMax=1500", "HalogenMax=1100"},
      {"HalogenMin=-1", "HalogenMin=-1"},
      {"RefMinWL= \t+12abc", "RefMinWL=12"},
      {"RefMinWL=-99999999999999999999", "RefMinWL=-2147483648"},
      {"UVLampFactor=1,5", "UVLampFactor=1.00"},
      {"UVLampFactor= -.25e1x", "UVLampFactor=-2.50"},
      {"UVLampFactor=nan", "UVLampFactor=0.00"},
      {"Manufacturer=M\xFCller = S\xF6hne \x80", "Manufacturer=M\xFCller = S\xF6hne \x80"},
      {"Model= \x81\t ", "Model= \x81\t "},
      {std::string("SN=12\0UV=false", 14), "SN=12"},
      {"Model=" + longText, "Model=" + longText.substr(0, 505)},
      {hidden, "Manufacturer=" + std::string(498, 'm')},
      {"StartPoints=;;400.04,1.0005,7;;-1,x;", "StartPoints=400.0,1.000;-1.0,0.000"},
      {"TurbCalRef=1e300,1", "TurbCalRef=1000000000000000052504760255204"},
      {"TurbCalLow=" + points, "TurbCalLow=" + points.substr(0, 499)},
      {"StartPoints=" + longPoints, "StartPoints=" + points.substr(0, 349)},
      {"ZeroCalibrationDT=2026;2;x;5;6", "ZeroCalibrationDT=2026;2;1;12;0"},
      {"ZeroCalibrationDT=2026 ;2;3;4;5", "ZeroCalibrationDT=2026;1;1;12;0"},
      {"ZeroCalibrationDT=70000;-1; 3;4", "ZeroCalibrationDT=65535;0;3;4;0"},
      {"Zeros=350.0,0.020;345.0,0.010;345.0,0.030;346.0,9", "Zeros=" + merged, TRUE},
      {"Zeros=", "Zeros=" + CalibrationList, TRUE},
      {"CODOffsets=345.0,0.010;350.0,0.020", "CODOffsets=" + merged},
  };
  for (const Case& row : cases) {
    SetDefaultSettings(&m_Settings);
    EXPECT_EQ(Read(With(DefaultText, row.read)), S_OK) << row.read;
    EXPECT_EQ(m_bZerosChanged, row.bZerosChanged) << row.read;
    EXPECT_EQ(Written(), With(DefaultText, row.written)) << row.read;
  }
}

TEST_F(SettingsTest, IgnoresForeignLinesAndKeepsWhatTheFileDoesNotName) {
  m_Settings.UVMin = 200;
  EXPECT_EQ(Read("\n=\n=5\nuvmax=1\nUVMax =2\n UVMax=3\nno separator\n" + std::string(2000, '=') + "\nUVMax=349"),
            E_FAIL);
  EXPECT_EQ(m_Board.DebugText(), MissingMessage);
  m_Settings.UVMin = 190;
  EXPECT_EQ(Written(), With(DefaultText, "UVMax=349"));
}

TEST_F(SettingsTest, EmptyListOfTheRecordStaysEmpty) {
  m_Settings.Zeros.clear();
  EXPECT_EQ(Read(DefaultText), S_OK);
  EXPECT_EQ(m_bZerosChanged, TRUE);
  EXPECT_EQ(Read(With(DefaultText, "Zeros=")), S_OK);
  EXPECT_EQ(m_bZerosChanged, FALSE);
  EXPECT_TRUE(m_Settings.Zeros.empty());
}

TEST_F(SettingsTest, TextsBringNoLinesOfTheirOwn) {
  m_Settings.Manufacturer = u"Ω & Müller\nUV=false";
  m_Settings.Model = u"K\rx";
  m_Settings.SN = std::u16string(u"1\0002", 3);
  EXPECT_EQ(Written(), With(With(With(DefaultText, "Manufacturer=? & M\xFCller"), "Model=K"), "SN=1"));
}

TEST_F(SettingsTest, FailsCleanly) {
  EXPECT_EQ(SetDefaultSettings(nullptr), E_FAIL);
  EXPECT_EQ(WriteSettings(nullptr), E_FAIL);
  EXPECT_EQ(m_Board.DebugText(), u"");
  EXPECT_EQ(ReadSettings(nullptr, &m_bZerosChanged), E_FAIL);
  EXPECT_EQ(m_bZerosChanged, FALSE);
  EXPECT_EQ(ReadSettings(&m_Settings), E_FAIL) << "no file";
  EXPECT_EQ(m_Board.DebugText(), MissingMessage + MissingMessage);
  EXPECT_EQ(Written(), DefaultText);

  m_Settings.UVMin = 200;
  m_Board.SetDiskFull(m_strFolder, true);
  EXPECT_EQ(WriteSettings(&m_Settings), E_FAIL);
  m_Board.SetDiskFull(m_strFolder, false);
  EXPECT_EQ(Content(), DefaultText) << "the old file stands";
}

TEST_F(SettingsTest, NoFolderNoFile) {
  struct UnknownProgram final : platform::CallHook {
    bool Fails(platform::LayerCall call, const platform::CallSite&) override {
      return call == platform::LayerCall::GetModuleFileNameW;
    }
  } hook;
  platform::ReplaceFileW(u"\\settings.cfg", DefaultText);  // foreign
  platform::CallHook* const pBefore = platform::SetCallHook(&hook);
  EXPECT_EQ(ReadSettings(&m_Settings), E_FAIL);
  EXPECT_EQ(WriteSettings(&m_Settings), E_FAIL);
  platform::SetCallHook(pBefore);
}

}  // namespace
}  // namespace photometer
