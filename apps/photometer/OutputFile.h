/// Files of results: written whole or not at all, and never over another one unless that was asked for.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// What stands in the way of writing the file, for a person: it is there already, or its folder cannot be used. Empty
/// when nothing does. To be asked before an instrument is started.
std::string ComplainAboutOutput(const std::string& path, bool bForce);

/// Writes a temporary file beside it, and gives it its name when it is complete on the disk. Without `bForce` a file
/// that came meanwhile stays as it is; with it the new file has the rights of the old one, and a link stays. Returns
/// what went wrong; empty when the file stands.
std::string WriteOutput(const std::string& name, std::string_view contents, bool bForce);

/// Gives a complete file its name. Without `bForce` it fails, with `EEXIST`, where a file is.
bool GiveName(const std::string& temporary, const std::string& path, bool bForce);

}  // namespace host
