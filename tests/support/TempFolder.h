// A temporary folder. The destructor removes it with its content.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

#include <stdlib.h>

namespace kelvo::test {

// Errors: the constructor throws if the folder cannot be created.
class TempFolder
{
public:
    TempFolder() : TempFolder(std::filesystem::temp_directory_path()) {}
    explicit TempFolder(const std::filesystem::path& parent)
    {
        std::string pattern = (parent / "kelvo-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("cannot create a temporary folder in " + parent.string());
        m_path = pattern;
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::string Path(const std::string& name) const { return (m_path / name).string(); }
    std::wstring WidePath(const std::string& name) const { return (m_path / name).wstring(); }

    // Returns the path of the file.
    std::string Write(const std::string& name, std::string_view content) const
    {
        std::ofstream(Path(name), std::ios::binary) << content;
        return Path(name);
    }
    std::string Read(const std::string& name) const
    {
        std::ifstream stream(Path(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    }
    bool Has(const std::string& name) const { return std::filesystem::exists(Path(name)); }
    // Sets the time of the last write, in seconds since 1970. Does not follow links.
    void Date(const std::string& name, std::int64_t writtenS) const
    {
        timespec times[2] = {};
        times[0].tv_sec = times[1].tv_sec = static_cast<time_t>(writtenS);
        if (::utimensat(AT_FDCWD, Path(name).c_str(), times, AT_SYMLINK_NOFOLLOW) != 0)
            throw std::runtime_error("cannot set the date of " + name);
    }
    std::size_t EntryCount() const
    {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(m_path), {}));
    }

private:
    std::filesystem::path m_path;
};

} // namespace kelvo::test
