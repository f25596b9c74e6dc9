#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/Spoken.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class LogCommandTest : public testing::Test {
 protected:
  Spoken Log(const Words& options) { return Speak(Joined({"log", "--root", m_folder.Path()}, options)); }
  json Entries(const Words& options) { return Log(Joined(options, {"--format", "json"})).Result()["entries"]; }

  photometer::tests::TemporaryFolder m_folder;
};

const std::string LogFile = "NANDFlash/Logging/Photometer.log";
const std::string ErrorFile = "SDMemory/ErrorCodeList.csv";

TEST_F(LogCommandTest, TellsLinesStartsAndDamage) {
  const struct {
    std::string line;
    std::string kind;
    std::string time;
    std::string text;
  } cases[] = {
      {"17.11.2026 22:49:44 |  M\xFCller \x80\n", "line", "2026-11-17T22:49:44", "M\u00FCller \u20AC"},
      {"17.11.2026 22:49:44 |  a\x02"
       "b\n",
       "line", "2026-11-17T22:49:44", "a\\x02b"},
      {std::string(80, ':') + "\n", "start", "", std::string(80, ':')},
      {std::string(79, ':') + "\n", "damaged", "", std::string(79, ':')},
      {"17.11.2026 22:49:44 | one blank\n", "damaged", "", "17.11.2026 22:49:44 | one blank"},
      {std::string("17.11.2026 22:49:44 |  \0\0\n", 26), "damaged", "", "17.11.2026 22:49:44 |  \\x00\\x00"},
      {"\n", "damaged", "", ""},
      {"17.11.2026 22:49:44 |  torn off", "damaged", "", "17.11.2026 22:49:44 |  torn off"},
      {std::string(200'000, 'x') + "\n", "damaged", "", std::string(65536, 'x')},
  };
  for (const auto& one : cases) {
    m_folder.Write(LogFile, "01.01.2026 00:00:00 |  before\n" + one.line);
    const json entries = Entries({});
    ASSERT_EQ(entries.size(), 2U) << one.line;
    EXPECT_EQ(entries[1]["kind"], one.kind) << one.line;
    EXPECT_EQ(entries[1]["text"], one.text);
    EXPECT_EQ(entries[1]["time"].is_null() ? "" : entries[1]["time"].get<std::string>(), one.time);
    const Spoken spoken = Log({});
    EXPECT_EQ(spoken.code, ExitCode::Success);
    EXPECT_THAT(spoken.results, HasSubstr("2026-01-01 00:00:00  before\n"));
  }
}

TEST_F(LogCommandTest, ExplainsTheErrorList) {
  m_folder.Write(ErrorFile,
                 "17.11.2026 22:49;1.16.1;042;[Measure] SetMeasurementLength returned 42\n"
                 "17.11.2026 22:50;1.16.1;-03;[Kinetics] a;b returned -3\n"
                 "17.11.2026 22:51;1.16.1;999;[Scan] x returned 999\n"
                 "17.11.2026 22:52;1.16.1;4x;[Scan]\n17.11.2026 22:53;1.16\n\n");
  const json entries = Entries({"--errors"});
  ASSERT_EQ(entries.size(), 6U);
  EXPECT_EQ(entries[0]["number"], 42);
  EXPECT_EQ(entries[0]["operation"], "SetMeasurementLength");
  EXPECT_EQ(entries[1]["number"], -3);
  EXPECT_EQ(entries[1]["text"], "[Kinetics] a;b returned -3");
  EXPECT_TRUE(entries[2]["advice"].is_null());
  for (std::size_t i = 3; i < 6; ++i) {
    EXPECT_EQ(entries[i]["kind"], "damaged");
  }
  const Spoken spoken = Log({"--errors"});
  EXPECT_THAT(spoken.results, HasSubstr("error 42 (SetMeasurementLength): the unit was silent"));
  EXPECT_THAT(spoken.messages, HasSubstr("3 damaged lines"));
  std::filesystem::remove(m_folder.At(ErrorFile));
  EXPECT_EQ(Log({"--errors"}).code, ExitCode::Success) << "no card";
  EXPECT_EQ(Log({}).code, ExitCode::BadInput) << "no log";
}

TEST_F(LogCommandTest, SinceLeavesOutWhatIsOlder) {
  m_folder.Write("NANDFlash/Logging/Photometer.bak", "16.11.2026 10:00:00 |  backup\n");
  m_folder.Write(LogFile,
                 "17.11.2026 09:59:59 |  old\ntorn\n" + std::string(80, ':') + "\n17.11.2026 10:00:00 |  new\ntorn\n");
  const struct {
    const char* since;
    std::size_t nEntries;
  } cases[] = {{"2026-11-16", 6},          {"17.11.2026", 5},          {"2026-11-17T10:00", 3},
               {"2026-11-17 10:00:01", 0}, {"17.11.2026 09:59:59", 5}, {"2h", 0}};
  for (const auto& one : cases) {
    EXPECT_EQ(Entries({"--since", one.since}).size(), one.nEntries) << one.since;
  }
  EXPECT_EQ(Log({"--since", "yesterday"}).code, ExitCode::BadInput);
}

}  // namespace
}  // namespace host
