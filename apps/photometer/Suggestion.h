/// Finds the name that a person probably meant.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace host {

/// Least number of letters to insert, delete, exchange for another or swap with a neighbour.
std::size_t Distance(std::string_view first, std::string_view second);

/// The candidate nearest to a mistyped word, or an empty text when none is near. The first of equally near ones.
std::string Nearest(std::string_view word, std::span<const std::string> candidates);

}  // namespace host
