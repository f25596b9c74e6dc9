#include "Commands.h"

#include <algorithm>
#include <array>

#include "MeasureCommand.h"

namespace host {

namespace {

template <typename Kind>
std::unique_ptr<Command> Make() {
  return std::make_unique<Kind>();
}

}  // namespace

std::span<const CommandEntry> Commands() {
  static const std::array entries = {
      CommandEntry{"measure", "absorbances at chosen wavelengths", Make<MeasureCommand>},
  };
  return entries;
}

const CommandEntry* FindCommand(const std::string& name) {
  const auto entries = Commands();
  const auto entry =
      std::find_if(entries.begin(), entries.end(), [&name](const CommandEntry& one) { return one.name == name; });
  return entry == entries.end() ? nullptr : &*entry;
}

}  // namespace host
