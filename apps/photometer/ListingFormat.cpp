#include "ListingFormat.h"

#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace host {

void AddListingFormat(CLI::App& app, bool& bJson) {
  const auto take = [&bJson](const std::string& text) {
    if (text != "table" && text != "json") {
      throw CLI::ValidationError("--format", fmt::format("\"{}\" cannot be used; give table or json", text));
    }
    bJson = text == "json";
  };
  app.add_option_function<std::string>("--format", take, "Form of the output")
      ->type_name("table|json")
      ->default_str("table");
}

}  // namespace host
