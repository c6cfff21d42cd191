// Paths, taken apart.
#pragma once

#include <string>
#include <string_view>

namespace kesdk::impl {

// With the slash at its end; "." for a name without a folder.
inline std::string FolderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// The text without `end` if it ends so and has more before it; else empty.
inline std::string_view Without(std::string_view text, std::string_view end)
{
    const bool endsSo = text.size() > end.size() && text.substr(text.size() - end.size()) == end;
    return endsSo ? text.substr(0, text.size() - end.size()) : std::string_view();
}

} // namespace kesdk::impl
