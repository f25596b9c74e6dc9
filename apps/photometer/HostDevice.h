/// Why a device or folder of the host cannot be used, for a person.
#pragma once

#include <string>

namespace host {

/// Why a serial device cannot be opened, as far as one can see from outside, and what to do.
std::string WhyDeviceFails(const std::string& device);

/// What keeps this user from writing into a folder, and what to do; empty when nothing does.
std::string WhyFolderFails(const std::string& folder);

}  // namespace host
