#include "service/kelvoctl/LocalFiles.h"

#include "service/kelvoctl/Failures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace kelvoctl {
namespace {

// Whether another path can help. Any other error is this machine's: a full or damaged disk.
bool isOfPath(const std::error_code& error)
{
    constexpr std::array ofPath = {ENOENT, ENOTDIR, EISDIR, EACCES,  EPERM,
                                   ELOOP,  EROFS,   ENXIO,  ETXTBSY, ENAMETOOLONG};
    return std::find(ofPath.begin(), ofPath.end(), error.value()) != ofPath.end();
}

// Runs `work` and adds the file's path to the system's error text.
template <class Work>
auto named(const char* what, const std::filesystem::path& path, Work work)
{
    try {
        return work();
    } catch (const std::system_error& error) {
        const std::string text =
            std::string(what) + " " + path.string() + ": " + error.code().message();
        if (isOfPath(error.code())) {
            throw UsageError(text);
        }
        throw LocalFailure(text);
    }
}

std::filesystem::path folderOf(const std::filesystem::path& path)
{
    return path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
}

} // namespace

kelvo::FileDescriptor openLocalFile(const std::filesystem::path& path, int flags, mode_t mode)
{
    return named("Cannot open", path, [&] { return kelvo::openFile(path, flags, mode); });
}

std::optional<kelvo::FileStatus> localFileStatus(const std::filesystem::path& path)
{
    return named("Cannot read", path, [&] { return kelvo::statusOf(path); });
}

void writeLocalFile(const kelvo::FileDescriptor& file, std::string_view bytes,
                    const std::filesystem::path& path)
{
    named("Cannot write", path, [&] { kelvo::writeAll(file.get(), bytes.data(), bytes.size()); });
}

void commitLocalFile(const kelvo::FileDescriptor& file, const std::filesystem::path& temporary,
                     const std::filesystem::path& target)
{
    named("Cannot write", target, [&] {
        if (::fsync(file.get()) != 0) {
            kelvo::throwErrno("fsync");
        }
        if (::rename(temporary.c_str(), target.c_str()) != 0) {
            kelvo::throwErrno("rename");
        }
        kelvo::syncFolder(folderOf(target));
    });
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
    const kelvo::FileDescriptor file(::mkostemp(name.data(), O_CLOEXEC)); // mode 0600
    if (!file) {
        named("Cannot write", target, [] { kelvo::throwErrno("mkostemp"); });
    }
    try {
        writeLocalFile(file, content, name);
        commitLocalFile(file, name, target);
    } catch (...) {
        ::unlink(name.c_str());
        throw;
    }
}

} // namespace kelvoctl
