// Reads passwords from a file, the environment or the terminal. The command line is not used,
// because every user of the machine can read it.
#pragma once

#include <string>

namespace kelvoctl {

// Reads from the first source that exists: the first line of `file` (if not empty), the variable,
// the terminal without echo. Throws UsageError if there is no password.
std::string readPassword(const std::string& file, const char* variable, const std::string& prompt);

} // namespace kelvoctl
