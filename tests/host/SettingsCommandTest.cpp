// Settings files on the command line: made, changed, checked, and used for a run.
#include <algorithm>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "InstrumentOptions.h"
#include "host/Spoken.h"
#include "settings/SettingsText.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class SettingsCommandTest : public testing::Test {
 protected:
  SettingsCommandTest() {
    photometer::InstrumentSettings settings;
    photometer::SetDefaultSettings(&settings);
    m_strDelivery = photometer::FormatSettingsText(settings);
  }

  [[nodiscard]] std::string At(const std::string& name) const { return m_folder.At(name); }
  [[nodiscard]] std::string Write(const std::string& name, const std::string& bytes) const {
    return m_folder.Write(name, bytes);
  }
  [[nodiscard]] std::string Read(const std::string& name) const { return m_folder.Read(name); }
  /// The delivery file with the line of a key replaced; an empty line takes it away.
  [[nodiscard]] std::string With(const std::string& key, const std::string& line) const {
    std::string text = m_strDelivery;
    const std::size_t nStart = text.find("\n" + key + "=") + 1;
    const std::size_t nEnd = text.find('\n', nStart) + 1;
    return text.replace(nStart, nEnd - nStart, line.empty() ? "" : line + "\n");
  }

  photometer::tests::TemporaryFolder m_folder;
  std::string m_strDelivery;
};

TEST_F(SettingsCommandTest, InitWritesADeliveryFileAndReplacesNothing) {
  m_folder.MakeFolder("Application");
  const Words init = {"settings", "init", "--root", m_folder.Path()};
  EXPECT_EQ(Speak(init).code, ExitCode::Success);
  EXPECT_EQ(Read("Application/settings.cfg"), m_strDelivery);
  m_folder.Write("Application/settings.cfg", "mine");
  EXPECT_EQ(Speak(init).code, ExitCode::BadInput);
  EXPECT_EQ(Read("Application/settings.cfg"), "mine");
  EXPECT_EQ(Speak({"settings", "init", At("Application/settings.cfg"), "--force"}).code, ExitCode::Success);
  EXPECT_EQ(Speak({"settings", "check", At("Application/settings.cfg")}).code, ExitCode::Success);
}

TEST_F(SettingsCommandTest, SetChangesOneValueAndNoOtherByte) {
  const std::string before = "Strange=1\r\nPeak1=360.7\r\n\xFCnknown\nModel=M\xFCller\r\nF2=1.0";
  const struct {
    Words words;
    std::string after;
  } cases[] = {
      {{"Peak1", "361"}, "Strange=1\r\nPeak1=361.0\r\n\xFCnknown\nModel=M\xFCller\r\nF2=1.0"},
      {{"F2", "-0.5"}, "Strange=1\r\nPeak1=360.7\r\n\xFCnknown\nModel=M\xFCller\r\nF2=-0.50000000"},
      {{"Model", "\u20AC = \u00E4"}, "Strange=1\r\nPeak1=360.7\r\n\xFCnknown\nModel=\x80 = \xE4\r\nF2=1.0"},
      {{"UV", "false"}, before + "\r\nUV=false\r\n"},
  };
  for (const auto& one : cases) {
    const std::string path = Write("a.cfg", before);
    EXPECT_EQ(Speak(Joined({"settings", "set", "--settings", path}, one.words)).code, ExitCode::Success);
    EXPECT_EQ(Read("a.cfg"), one.after);
  }
  const struct {
    Words words;
    Words parts;
  } refused[] = {
      {{"peak1", "361"}, {"no key \"peak1\"", "did you mean \"Peak1\"?"}},
      {{"Peak1", "361,5"}, {"Peak1", "\"361,5\" is no number", "with a point"}},
      {{"UVMin", "200.5"}, {"whole number"}},
      {{"Model", "\u03A9"}, {"Windows-1252"}},
      {{"Model", "a\nUV=false"}, {"more than one line"}},
      {{"Zeros", "400.0,1;500"}, {"entry 2", "\"500\" is no point"}},
      {{"ZeroCalibrationDT", "2026;2;30;0;0"}, {"is no time", "year;month"}},
      {{"SN", std::string(600, '7')}, {"longer than the 511 bytes"}},
      {{"SN"}, {"VALUE: is missing"}},
  };
  for (const auto& one : refused) {
    const std::string path = Write("a.cfg", before);
    const Spoken spoken = Speak(Joined({"settings", "set", "--settings", path}, one.words));
    EXPECT_EQ(spoken.code, ExitCode::BadInput) << one.words.front();
    for (const std::string& part : one.parts) {
      EXPECT_THAT(spoken.messages, HasSubstr(part));
    }
    EXPECT_EQ(Read("a.cfg"), before);
  }
}

TEST_F(SettingsCommandTest, CheckNamesLineKeyAndWhatToDo) {
  const struct {
    std::string content;
    std::string part;
    ExitCode code = ExitCode::CheckFailed;
  } cases[] = {
      {With("UVMax", ""), ": key \"UVMax\": is missing; add a line UVMax=350"},
      {m_strDelivery + "UVMax=350\n", ":46: key \"UVMax\": is there already in line 24; remove one"},
      {m_strDelivery + "UVMaximum=1\n", ":46: key \"UVMaximum\": is not known", ExitCode::Success},
      {With("HalogenMax", "HalogenMax=1500"), ":22: key \"HalogenMax\": 1500 is out of range; give 190 to 1100"},
      {With("RefMinWL", "RefMinWL=400"), ":4: key \"RefMinWL\": 400 is not below 380 of RefMaxWL in line 5"},
      {With("UV", "UV=TRUE"), ":13: key \"UV\": \"TRUE\" counts as false"},
      {With("F1", "F1=1e999"), ":10: key \"F1\": \"1e999\" is no number"},
      {With("Model", std::string("Model=a\0b", 9)), ":15: has a zero byte"},
      {With("Zeros", "Zeros=400.0,1"), ":25: key \"Zeros\": is a list of 1, the instrument's own of 24",
       ExitCode::Success},
      {With("TurbCalLow", "TurbCalLow=" + std::string(600, '1')), ":42: key \"TurbCalLow\": the line is longer"},
      {"\xEF\xBB\xBF" + m_strDelivery, ":1: begins with a byte order mark"},
  };
  for (const auto& one : cases) {
    const std::string path = Write("a.cfg", one.content);
    const Spoken spoken = Speak({"settings", "check", path});
    EXPECT_EQ(spoken.code, one.code) << one.part;
    EXPECT_THAT(spoken.results, HasSubstr(path + one.part));
    const json shown = Speak({"settings", "show", path, "--format", "json"}).Result();
    EXPECT_EQ(shown["complete"], one.code == ExitCode::Success);
  }
  EXPECT_EQ(Speak({"settings", "check", At("none")}).code, ExitCode::BadInput);
  EXPECT_EQ(Speak({"settings", "check", m_folder.Path()}).code, ExitCode::BadInput);
}

/// Parses as a run would, and gives what the device would be given; an empty parameter set after a complaint.
struct Parsed {
  explicit Parsed(std::vector<std::string> arguments) {
    options.AddTo(app);
    std::reverse(arguments.begin(), arguments.end());
    try {
      app.parse(arguments);
      options.Check();
    } catch (const CLI::Error& error) {
      complaint = error.what();
    }
  }
  CLI::App app;
  InstrumentOptions options;
  std::string complaint;
};

TEST_F(SettingsCommandTest, TheCommandLineGoesBeforeTheHostFileAndThatBeforeTheSettings) {
  const std::string delivery = m_strDelivery;
  m_strDelivery = With("F3", "F3=-0.00005");
  m_strDelivery = With("F0", "F0=-1771000");
  m_strDelivery = With("Peak1", "Peak1=361.2");
  m_strDelivery = With("UV", "UV=false");
  m_strDelivery = With("HalogenMax", "HalogenMax=1000");
  m_folder.Write("settings.cfg", With("Zeros", "Zeros=400.0,0;500.5,0"));
  const std::string hostFile = Write("host.toml",
                                     "# the second pump\npump-time = 12\npump = \"zq420\"\nuv = true\n"
                                     "switching-point = 345.5\nsettling-time = 7\nsettings = \"settings.cfg\"\n");

  const Parsed parsed({"--pump-time", "20", "--host-file", hostFile});
  ASSERT_EQ(parsed.complaint, "");
  const photometer::PhotometerParameters& params = parsed.options.Parameters();
  EXPECT_EQ(params.dA, -0.00005);
  EXPECT_EQ(params.dB, -0.18985745);
  EXPECT_EQ(params.dD, -1771000);
  EXPECT_EQ(params.HalogenMax, 1000U);
  EXPECT_EQ(params.bUV, 1) << "the host file says so";
  EXPECT_EQ(params.PumpTime, 20U) << "the command line says so";
  EXPECT_EQ(params.dwOperatingMode, 2U);
  EXPECT_EQ(params.DelayTime, 7U);
  EXPECT_EQ(parsed.options.Calibration().dReferencePeak, 361.2);
  EXPECT_EQ(parsed.options.Calibration().LampSwitchingPoint, 345.5);
  EXPECT_THAT(parsed.options.Calibration().ZeroWavelengths, testing::ElementsAre(400.0, 500.5));
  EXPECT_EQ(parsed.options.SettingsPath(), At("settings.cfg"));

  const Parsed other({"--settings", Write("other.cfg", delivery), "--host-file", hostFile, "--no-uv"});
  ASSERT_EQ(other.complaint, "");
  EXPECT_EQ(other.options.Parameters().dD, -1771912.20088685);
  EXPECT_EQ(other.options.Parameters().bUV, 0);
  EXPECT_EQ(other.options.Parameters().PumpTime, 12U);
}

TEST_F(SettingsCommandTest, FaultsInFilesNameFileLineAndKey) {
  const struct {
    const char* option;
    std::string content;
    std::string part;
  } cases[] = {
      {"--settings", With("Peak1", "Peak1=abc"), ":6: key \"Peak1\": \"abc\" is no number"},
      {"--settings", With("Zeros", "Zeros=250.0,0"), ":25: key \"Zeros\": entry 1 (250 nm) is out of range; 330 to"},
      {"--settings", With("UVMax", "UVMax=335"),
       "switching-point: \"340\" cannot be used; give a number from 330 to 335"},
      {"--host-file", "\npump-time = 1000\n", ":2: key \"pump-time\": \"1000\" cannot be used; give a whole number"},
      {"--host-file", "pumptime = 10\n", ":1: key \"pumptime\": is not known; did you mean \"pump-time\"?"},
      {"--host-file", "seed = 10\n", ":1: key \"seed\": is not known"},
      {"--host-file", "uv = 7\n", ":1: key \"uv\": \"7\" cannot be used; give true or false"},
      {"--host-file", "zeros = \"400,x\"\n", ":1: key \"zeros\": entry 2 (\"x\")"},
      {"--host-file", "pump-time = 1\npump-time = 2\n", ":2: key \"pump-time\": is there already in line 1"},
      {"--host-file", "[pump]\n", ":1: a host file has no sections"},
      {"--host-file", "pump-time 10\n", ":1: key \"pump-time\": the line cannot be read"},
      {"--host-file", "settings = \"none.cfg\"\n", "none.cfg cannot be read"},
  };
  for (const auto& one : cases) {
    const std::string path = Write("a", one.content);
    const Parsed parsed({one.option, path});
    EXPECT_THAT(parsed.complaint, HasSubstr(one.part.starts_with(':') ? path + one.part : one.part));
  }
}

TEST_F(SettingsCommandTest, ResultsNameTheFilesOfTheRun) {
  const std::string settings = Write("settings.cfg", With("HalLampFactor", ""));
  const std::string hostFile = Write("host.toml", "check-interval = 30\n");
  const Spoken spoken = Simulate({"measure", "--wavelengths", "436", "--zeros", "436", "--settings", settings,
                                  "--host-file", hostFile, "--format", "csv"});
  EXPECT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
  EXPECT_THAT(spoken.results, HasSubstr("# settings_file: " + settings + "\n# host_file: " + hostFile + "\n"));
}

}  // namespace
}  // namespace host
