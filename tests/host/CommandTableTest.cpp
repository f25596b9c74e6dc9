#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../apps/common/Roff.h"
#include "CommandCall.h"
#include "ManualPage.h"
#include "TraceHead.h"
#include "Words.h"
#include "host/Spoken.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using photometer::tests::TemporaryFolder;
using testing::HasSubstr;

TEST(Words, AreTakenAsQuoted) {
  const struct {
    const char* line;
    Words words;
  } cases[] = {{"", {}},
               {"  measure\t--readings 3\r", {"measure", "--readings", "3"}},
               {"scan --label \"batch 7\" 'a\\b' # 7", {"scan", "--label", "batch 7", "a\\b"}},
               {"--label=it\\'s \"\" x#y", {"--label=it's", "", "x#y"}},
               {"\"a \\\" b\"'c'", {"a \" bc"}}};
  for (const auto& one : cases) {
    EXPECT_EQ(std::get<Words>(SplitWords(one.line)), one.words) << one.line;
    std::string quoted;
    for (const std::string& word : one.words) {
      quoted += QuoteWord(word) + " ";
    }
    EXPECT_EQ(std::get<Words>(SplitWords(quoted)), one.words) << quoted;
  }
  EXPECT_THAT(std::get<std::string>(SplitWords("a \"b")), HasSubstr("quote \" has no end"));
  EXPECT_THAT(std::get<std::string>(SplitWords("a\\")), HasSubstr("backslash"));
}

/// A replay touches no file that its trace names.
TEST(CommandTable, EveryOptionOfAFileStaysOutOfTraces) {
  for (const CommandEntry& entry : Commands()) {
    const CommandCall call(entry, nullptr);
    for (const CLI::Option* pOption : call.App().get_options()) {
      const std::string name = pOption->get_positional() ? pOption->get_single_name() : pOption->get_name();
      if (WorksOnInstrument(entry) && pOption->get_type_name().starts_with("FILE")) {
        EXPECT_TRUE(IsLeftOut(name)) << entry.name << " " << name;
      }
    }
  }
}

/// The examples work in their order, in a folder of their own. Those of shells and of commands without instrument are
/// only parsed.
TEST(CommandTable, ExamplesWork) {
  const TemporaryFolder folder;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.Path());
  folder.Write("morning.txt", "turbidity\n");
  ASSERT_EQ(Speak({"measure", "--demo", "--trace", "trouble.trace"}).code, ExitCode::Success);
  for (const CommandEntry& entry : Commands()) {
    EXPECT_FALSE(entry.description.empty()) << entry.name;
    EXPECT_FALSE(entry.examples.empty()) << entry.name;
    for (const std::string& example : entry.examples) {
      Words words = std::get<Words>(SplitWords(example));
      ASSERT_EQ(words.front(), "photometer") << example;
      words.erase(words.begin());
      const auto named = std::get<NamedCommand>(FindNamedCommand(words));
      ASSERT_EQ(named.pEntry, &entry) << example;
      CommandCall call(entry, nullptr);
      const Words options = OptionNames(call.App());
      if (!entry.bJoins || std::find(options.begin(), options.end(), "--simulate") == options.end()) {
        EXPECT_EQ(call.Parse(named.options), "") << example;
        continue;
      }
      const Spoken spoken = Simulate(words);
      EXPECT_EQ(spoken.code, ExitCode::Success) << example << "\n" << spoken.messages;
    }
  }
  std::filesystem::current_path(before);
}

TEST(ManualPages, HoldWhatHelpHolds) {
  const TemporaryFolder folder;
  ASSERT_EQ(WriteManualPages(folder.At("man")), "");
  for (const CommandEntry& entry : Commands()) {
    // Every hyphen is marked, so that it can be copied out of the page.
    std::string text = folder.Read("man/" + ManualPageName(entry) + ".1");
    text.erase(std::remove(text.begin(), text.end(), '\\'), text.end());
    for (const std::string& option : OptionNames(CommandCall(entry, nullptr).App())) {
      EXPECT_THAT(text, HasSubstr("fB" + option + "fR")) << entry.name;
    }
    EXPECT_THAT(text, HasSubstr(entry.summary));
    EXPECT_THAT(text, HasSubstr(".SH EXAMPLES\n"));
  }
  EXPECT_THAT(WriteManualPages("/proc/nowhere"), HasSubstr("/proc/nowhere cannot be written"));
}

/// A line that roff takes for a request vanishes from the page without a word.
TEST(ManualPages, NothingOfATextIsARequestOrAnEscape) {
  EXPECT_EQ(common::RoffText("a --flag\n.5 nm\n'so' \\x.exe"), "a \\-\\-flag\n\\&.5 nm\n\\&'so' \\ex.exe");
}

}  // namespace
}  // namespace host
