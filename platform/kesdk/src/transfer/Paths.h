// Parts of paths.
#pragma once

#include <string>
#include <string_view>

namespace kesdk::impl {

// The folder with a slash at its end; "./" for a name without a folder.
inline std::string FolderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

// The text behind the last slash.
template <class String>
String NameOf(const String& path)
{
    return path.substr(path.rfind('/') + 1);
}

// The text without the suffix `end`. Empty if the text lacks the suffix or is only the suffix.
inline std::string_view Without(std::string_view text, std::string_view end)
{
    const bool endsSo = text.size() > end.size() && text.substr(text.size() - end.size()) == end;
    return endsSo ? text.substr(0, text.size() - end.size()) : std::string_view();
}

} // namespace kesdk::impl
