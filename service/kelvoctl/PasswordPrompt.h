// Where passwords come from: a file, the environment or the terminal, never the command line, which
// every user of the machine can read.
#pragma once

#include <string>

namespace kelvoctl {

// The first of: the first line of `file` (if not empty), the variable, the terminal without echo.
// Throws UsageError when none yields a password.
std::string readPassword(const std::string& file, const char* variable, const std::string& prompt);

} // namespace kelvoctl
