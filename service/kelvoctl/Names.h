// The names of files and inboxes in a URL, a local path or a terminal.
#pragma once

#include <string>
#include <string_view>

namespace kelvoctl {

// Every character that is not unreserved becomes %XX, so a name is one path segment.
std::string percentEncoded(std::string_view text);

// False for names that are paths or that hide something. These are "", ".", "..", and names with
// '/' or a control character (service/base/Names.h). kelvoctl never uses an unsafe name in the file
// system.
bool isSafeFileName(std::string_view name);

// A parameter of a query, empty without a time. A day without a time means the start of the day.
std::string timeParameter(const char* name, const std::string& time);

// Replaces control characters by '?': a name comes from another user, and a terminal would obey
// them.
std::string printable(std::string_view text);

// Writes the control characters of JSON on one line as \uXXXX.
std::string escapedJson(std::string_view json);

} // namespace kelvoctl
