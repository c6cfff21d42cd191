// Writing files so that a crash leaves the old one or the new one, never half of one.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kelvoctl {

// An open descriptor; closes itself.
class Descriptor
{
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }

private:
    int m_fd;
};

// Opens or throws UsageError, which names the file and the system's reason.
Descriptor openFile(const std::filesystem::path& path, int flags, mode_t mode = 0);

// Of any file, also of one that is dated after 2038: of that stat() tells nothing where a time has
// 32 bits.
struct FileStatus
{
    mode_t mode = 0; // with the kind of file
    std::uint64_t sizeBytes = 0;
};

// Nothing when it cannot be told.
std::optional<FileStatus> statusOf(const Descriptor& file);
std::optional<FileStatus> statusOf(const std::filesystem::path& path);

// Writes all or throws UsageError.
void writeAll(const Descriptor& file, std::string_view bytes, const std::filesystem::path& path);

// Makes what was written to `temporary` stand under `target`: fsync, rename, fsync of the folder.
void commitFile(const Descriptor& file, const std::filesystem::path& temporary,
                const std::filesystem::path& target);

// A private file (mode 0600) replaced as a whole; the folder is made (0700) when it is not there.
void replacePrivateFile(const std::filesystem::path& target, std::string_view content);

} // namespace kelvoctl
