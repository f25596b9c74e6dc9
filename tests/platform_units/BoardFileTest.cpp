#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "platform/posix/BoardFile.h"
#include "support/ManualPage.h"
#include "support/TemporaryFolder.h"

namespace photometer::platform {
namespace {

using tests::TemporaryFolder;

constexpr const char* Source = "/etc/photometer/board.toml";

BoardFile Good(std::string_view text) {
  const auto result = BoardFile::Parse(text, Source);
  const std::string* pComplaint = std::get_if<std::string>(&result);
  EXPECT_EQ(pComplaint, nullptr) << *pComplaint;
  return pComplaint == nullptr ? std::get<BoardFile>(result) : BoardFile();
}

TEST(BoardFile, EveryKey) {
  const BoardFile file = Good(
      "# an instrument\r\n"
      "root = \"/srv/photometer\"   # its files\r\n"
      "program = '\\Application\\UI.exe'\n"
      "\n"
      "[ports]\n"
      "COM1=\"/dev/ttyS#1\"\n"
      "  COM2 = \"links/\\\"optical\\\"\"\n"
      "at-once = [ \"COM1\", 'COM6' ]  # both\n"
      "COM6 = '/dev/ttyUSB0'\n"
      "[pins]\nfolder = \"/run/pins/\"\n"
      "[registry]\nfile = \"../registry\"\n"
      "[debug]\noutput = \"file\"\nfile = \"debug.log\"");
  EXPECT_EQ(file.root, "/srv/photometer");
  EXPECT_EQ(file.program, u"\\Application\\UI.exe");
  std::string ports;
  for (const SerialPortEntry& port : file.ports) {
    ports += ToUtf8(port.name) + port.device + (port.bAtOnce ? " at once\n" : "\n");
  }
  EXPECT_EQ(ports, "COM1:/dev/ttyS#1 at once\nCOM2:/etc/photometer/links/\"optical\"\nCOM6:/dev/ttyUSB0 at once\n");
  EXPECT_EQ(file.pinsFolder, "/run/pins/");
  EXPECT_EQ(file.registryFile, "/etc/registry");
  EXPECT_EQ(file.debugTarget, DebugTarget::File);
  EXPECT_EQ(file.debugFile, "/etc/photometer/debug.log");
}

TEST(BoardFile, ManualPageDescribesEachKey) {
  std::vector<std::string> keys;
  for (const std::string_view key : BoardFile::Keys()) {
    // The page says "COM1 to COM9".
    if (key < "ports.COM2" || key > "ports.COM8") {
      keys.emplace_back(key);
    }
  }
  EXPECT_THAT(tests::KeysOfManualPage("photometer-board.5"), testing::ElementsAreArray(keys));
}

TEST(BoardFile, WhatIsLeftOut) {
  const BoardFile file = Good("root = \"files\"\n[ports]\nCOM1 = \"/dev/ttyS0\"\nCOM2 = \"/dev/ttyS1\"\n");
  EXPECT_EQ(file.registryFile, "/etc/photometer/files/registry.txt");
  EXPECT_TRUE(file.program.empty());
  EXPECT_TRUE(file.pinsFolder.empty());
  EXPECT_EQ(file.debugTarget, DebugTarget::Off);
  EXPECT_FALSE(file.ports[0].bAtOnce);
  EXPECT_TRUE(file.ports[1].bAtOnce);
  EXPECT_FALSE(Good("root = \"/x\"\n[ports]\nCOM2 = \"/dev/ttyS0\"\nat-once = []\n").ports[0].bAtOnce);
}

TEST(BoardFile, ErrorsNameLineAndKeyAndTheWayOut) {
  const struct {
    std::string text;
    const char* place;
    const char* advice;
  } cases[] = {
      {"", ": key \"root\": is missing", "give the folder"},
      {"[ports]\nroot = \"/x\"", ":2: key \"ports.root\"", "COM1 to COM9"},
      {"root = \"/x\"\nroot = \"/y\"", ":2: key \"root\": is there already in line 1", "remove"},
      {"root = /x", ":1: key \"root\"", "quotes"},
      {"root = \"\\x\"", ":1: key \"root\"", "single ones"},
      {"root = \"\"", ":1: key \"root\"", "not empty"},
      {"root = \"/x\" y", ":1: key \"root\"", "one entry on each line"},
      {std::string("root = \"/x\0\"", 12), ":1: the line has a control character", "remove"},
      {"root = \"/x\"\ncolour = \"red\"", ":2: key \"colour\": is not known", "spelling"},
      {"\n\n[pumps]", ":3: section \"pumps\"", "ports, pins, registry and debug"},
      {"[ports]\n[pins]\n[ports]", ":3: section \"ports\"", "together"},
      {"[ports]\nCOM0 = \"/x\"", ":2: key \"ports.COM0\"", "COM1 to COM9"},
      {"[ports]\nCOM1 = \"/x\"\nCOM2 = \"/x\"", ":3: key \"ports.COM2\"", "device of its own"},
      {"[ports]\nat-once = [\"COM2\" \"COM1\"]", ":2: key \"ports.at-once\"", "on one line"},
      {"root = \"/x\"\n[ports]\nat-once = [\"COM7\"]", ":3: key \"ports.at-once\": \"COM7\"", "add it"},
      {"[debug]\noutput = \"screen\"", ":2: key \"debug.output\": \"screen\"", "syslog"},
      {"root = \"/x\"\n[debug]\noutput = \"file\"", ": key \"debug.file\": is missing", "needs it"},
      {"program = '\\..\\photometer.exe'", ":1: key \"program\"", "\\Application\\"},
  };
  for (const auto& test : cases) {
    const auto result = BoardFile::Parse(test.text, Source);
    const std::string* pComplaint = std::get_if<std::string>(&result);
    ASSERT_NE(pComplaint, nullptr) << test.text;
    EXPECT_EQ(pComplaint->find(std::string(Source) + test.place), 0U) << *pComplaint;
    EXPECT_NE(pComplaint->find(test.advice), std::string::npos) << *pComplaint;
  }
}

TEST(BoardFile, FilesThatCannotBeRead) {
  const TemporaryFolder folder;
  folder.Write("long", std::string(65537, '#'));
  for (const std::string& path : {folder.At("absent"), folder.At("long"), folder.Path()}) {
    const auto result = BoardFile::Load(path);
    const std::string* pComplaint = std::get_if<std::string>(&result);
    ASSERT_NE(pComplaint, nullptr) << path;
    EXPECT_EQ(pComplaint->find(path + ": cannot be "), 0U) << *pComplaint;
  }
  const std::string path = folder.Write("board.toml", "root = \".\"");
  EXPECT_EQ(std::get<BoardFile>(BoardFile::Load(path)).root, folder.Path() + "/");
}

}  // namespace
}  // namespace photometer::platform
