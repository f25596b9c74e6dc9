#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../apps/common/Roff.h"

namespace {

/// A line that roff takes for a request vanishes from the page without a word.
TEST(Roff, NothingOfATextIsARequestOrAnEscape) {
  const struct {
    const char* text;
    const char* roff;
  } cases[] = {{"a --flag", "a \\-\\-flag"},
               {".5 nm\n.TH", "\\&.5 nm\n\\&.TH"},
               {"'so'", "\\&'so'"},
               {"\\Application\\x.exe", "\\eApplication\\ex.exe"},
               {"", ""}};
  for (const auto& test : cases) {
    EXPECT_EQ(common::RoffText(test.text), test.roff);
  }
}

TEST(Roff, OptionsStandInTheirGroupsAsInTheHelpText) {
  CLI::App app;
  app.set_help_flag();
  std::string value;
  bool bValue = false;
  app.add_option("-o,--output", value, "Where to")->type_name("FILE");
  app.add_flag("--one-shot", bValue, "Once")->group("How often");
  app.add_flag("--hidden", bValue, "Not to be seen")->group("");
  EXPECT_EQ(common::RoffOptions(app),
            ".SH OPTIONS\n.TP\n\\fB\\-o\\fR, \\fB\\-\\-output\\fR \\fIFILE\\fR\nWhere to\n"
            ".SS \"How often\"\n.TP\n\\fB\\-\\-one\\-shot\\fR\nOnce\n");
}

}  // namespace
