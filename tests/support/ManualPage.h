/// The keys that a manual page of a file format describes.
#pragma once

#include <string>
#include <vector>

namespace photometer::tests {

/// The bold words of the tags below the heading KEYS of docs/man/<page>, in their order; below `.SS Section [name]`
/// with "name." before them.
std::vector<std::string> KeysOfManualPage(const std::string& page);

}  // namespace photometer::tests
