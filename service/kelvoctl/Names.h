// Names of files and inboxes on their way into a URL, a local path or a terminal.
#pragma once

#include <string>
#include <string_view>

namespace kelvoctl {

// Everything but unreserved characters becomes %XX, so that a name is one path segment.
std::string percentEncoded(std::string_view text);

// False for names that would be a path or hide something: "", ".", "..", and any with '/' or a
// control character. Such a name never reaches the file system.
bool isSafeFileName(std::string_view name);

// The text with control characters replaced by '?': names come from elsewhere, and a terminal obeys
// them.
std::string printable(std::string_view text);

} // namespace kelvoctl
