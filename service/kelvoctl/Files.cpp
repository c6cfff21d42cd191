// Writing files so that a crash leaves the old one or the new one, never half of one.
#include "service/kelvoctl/Files.h"

#include "service/kelvoctl/Failures.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace kelvoctl {
namespace {

[[noreturn]] void failWithErrno(const std::string& what, const std::filesystem::path& path)
{
    throw UsageError(what + " " + path.string() + ": " + std::strerror(errno));
}

std::optional<FileStatus> status(int folder, const char* path, int flags)
{
    struct statx found = {};
    if (::statx(folder, path, flags, STATX_TYPE | STATX_MODE | STATX_SIZE, &found) != 0) {
        return std::nullopt;
    }
    return FileStatus{found.stx_mode, found.stx_size};
}

std::filesystem::path folderOf(const std::filesystem::path& path)
{
    return path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
}

} // namespace

Descriptor::~Descriptor()
{
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

Descriptor::Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    std::swap(m_fd, other.m_fd);
    return *this;
}

Descriptor openFile(const std::filesystem::path& path, int flags, mode_t mode)
{
    Descriptor file(::open(path.c_str(), flags | O_CLOEXEC, mode));
    if (!file.valid()) {
        failWithErrno("Cannot open", path);
    }
    return file;
}

std::optional<FileStatus> statusOf(const Descriptor& file)
{
    return status(file.get(), "", AT_EMPTY_PATH);
}

std::optional<FileStatus> statusOf(const std::filesystem::path& path)
{
    return status(AT_FDCWD, path.c_str(), 0);
}

void writeAll(const Descriptor& file, std::string_view bytes, const std::filesystem::path& path)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            failWithErrno("Cannot write", path);
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void commitFile(const Descriptor& file, const std::filesystem::path& temporary,
                const std::filesystem::path& target)
{
    if (::fsync(file.get()) != 0 || ::rename(temporary.c_str(), target.c_str()) != 0) {
        failWithErrno("Cannot write", target);
    }
    const Descriptor folder = openFile(folderOf(target), O_RDONLY | O_DIRECTORY);
    if (::fsync(folder.get()) != 0) {
        failWithErrno("Cannot write", target);
    }
}

void replacePrivateFile(const std::filesystem::path& target, std::string_view content)
{
    const std::filesystem::path folder = folderOf(target);
    if (!std::filesystem::exists(folder)) {
        std::error_code error;
        std::filesystem::create_directories(folder, error);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
    }
    std::string name = (folder / ".session-XXXXXX").string();
    const Descriptor file(::mkostemp(name.data(), O_CLOEXEC)); // Made with mode 0600.
    if (!file.valid()) {
        failWithErrno("Cannot write", target);
    }
    try {
        writeAll(file, content, name);
        commitFile(file, name, target);
    } catch (...) {
        ::unlink(name.c_str());
        throw;
    }
}

} // namespace kelvoctl
