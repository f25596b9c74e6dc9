#include <sys/file.h>
#include <unistd.h>

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PseudoTerminal.h"
#include "host/Spoken.h"
#include "platform/posix/BoardFile.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using photometer::tests::TemporaryFolder;
using testing::HasSubstr;

struct Checked {
  ExitCode code;
  std::string text;
};

Checked Check(const std::string& board) {
  const Spoken spoken = Speak({"board", "check", board});
  return {spoken.code, spoken.results + spoken.messages};
}

TEST(BoardCheck, TellsWhatWorksAndHowToMendTheRest) {
  const TemporaryFolder folder;
  const serving::PseudoTerminal line;
  const serving::PseudoTerminal busy;
  folder.Write("pins/pin10", "0\n");
  folder.Write("pins/pin11", "1\n");
  folder.Write("pins/pin12", "0\n");
  folder.Write("root/SDMemory/x", "");
  const std::string board = folder.At("board.toml");
  const std::string ports = "root = \"root\"\n[ports]\nCOM2 = \"" + line.Path() + "\"\n";
  const std::string rest = "[pins]\nfolder = \"pins\"\n[registry]\nfile = \"registry.txt\"\n";
  folder.Write("board.toml", ports + rest);
  const Checked sound = Check(board);
  EXPECT_EQ(sound.code, ExitCode::Success) << sound.text;
  EXPECT_THAT(sound.text,
              testing::AllOf(HasSubstr("pin 11 (cuvette switch) is 1"), HasSubstr("pin9 will be made"),
                             HasSubstr("registry.txt is not there: it will be made"), HasSubstr("Everything works.")));
  EXPECT_FALSE(std::filesystem::exists(folder.At("registry.txt"))) << "a check makes nothing";

  folder.Write("pins/pin12", "high\n");
  folder.Write("registry.txt", "[\\Veltranometrik]\nHalLamp=many\nUVLamp=7\n");
  const int iOther = open(busy.Path().c_str(), O_RDWR | O_NOCTTY);
  ASSERT_EQ(flock(iOther, LOCK_EX), 0);
  folder.Write("board.toml",
               ports + "COM1 = \"/dev/nothing-here\"\nCOM6 = \"" + busy.Path() + "\"\nCOM7 = \"board.toml\"\n" + rest);
  std::filesystem::remove_all(folder.At("root/SDMemory"));
  const Checked faulty = Check(board);
  close(iOther);
  EXPECT_EQ(faulty.code, ExitCode::BoardFaulty);
  for (const char* part : {"/dev/nothing-here: there is no such device", "it is in use by another program",
                           "it is no serial device", "pin 12 (cuvette switch): neither", "HalLamp cannot be read",
                           "lamp counter UVLamp is 7", "the error list is not written", "5 to be mended."}) {
    EXPECT_THAT(faulty.text, HasSubstr(part));
  }
}

TEST(BoardCheck, RefusesAFileThatCannotBeUsed) {
  const TemporaryFolder folder;
  const std::string board = folder.At("board.toml");
  folder.Write("board.toml", "root = \"nowhere\"\n");
  const Checked bare = Check(board);
  EXPECT_EQ(bare.code, ExitCode::BoardFaulty);
  for (const char* part : {"nowhere: there is no such folder", "mkdir -p", "ports.COM2", "there are no pins"}) {
    EXPECT_THAT(bare.text, HasSubstr(part));
  }
  folder.Write("board.toml", "rot = \"x\"\n");
  EXPECT_THAT(Check(board).text, HasSubstr(board + ":1"));
}

TEST(BoardCheck, TheExampleHoldsEveryKey) {
  const auto loaded =
      photometer::platform::BoardFile::Load(std::string(PHOTOMETER_SOURCE_FOLDER) + "/docs/board.example.toml");
  ASSERT_TRUE(std::holds_alternative<photometer::platform::BoardFile>(loaded)) << std::get<std::string>(loaded);
  const auto& file = std::get<photometer::platform::BoardFile>(loaded);
  for (const char* key : {"root", "program", "ports.COM1", "ports.COM2", "ports.COM6", "ports.at-once", "pins.folder",
                          "registry.file", "debug.output", "debug.file"}) {
    EXPECT_TRUE(file.lines.contains(key)) << key;
  }
}

}  // namespace
}  // namespace host
