#include "service/FolderHome.h"

#include "service/base/FileStatus.h"
#include "service/base/Files.h"

#include <stdexcept>
#include <system_error>

#include <unistd.h>

namespace kelvo {

namespace fs = std::filesystem;

namespace {

fs::path rootOf(const fs::path& folder, const fs::path& dataFolder)
{
    return folder.empty() ? dataFolder : fs::weakly_canonical(folder);
}

/**
 * A missing folder may be a disk that is not mounted, so it is not made. The clean-up would remove
 * the files that the database does not know.
 */
std::optional<DataFolder> lockOf(const fs::path& root, const fs::path& dataFolder, bool isRecorded)
{
    if (root == dataFolder) {
        return std::nullopt;
    }
    if (!fs::is_directory(root)) {
        throw StartRefused("the folder of --contents does not exist: " + root.string());
    }
    if (isRecorded && !fs::is_directory(root / "content")) {
        throw StartRefused("the folder of --contents has no folder content: mount its disk, or if"
                           " its files are lost, make an empty folder content in " +
                           root.string());
    }
    if (!isRecorded && holdsContents(root)) {
        throw StartRefused("the folder of --contents holds files of another database: put the"
                           " database back, or choose an empty folder instead of " +
                           root.string());
    }
    return std::optional<DataFolder>(std::in_place, root);
}

DiskReserve* reserveOf(const fs::path& root, const HomeParts& parts)
{
    const auto own = statusOf(root);
    const auto data = statusOf(parts.dataFolder);
    return own && data && own->device == data->device ? &parts.reserve : nullptr;
}

} // namespace

FolderHome::FolderHome(const fs::path& folder, const HomeParts& parts, bool isRecorded)
    : parts_(parts),
      root_(rootOf(folder, parts.dataFolder)),
      lock_(lockOf(root_, parts.dataFolder, isRecorded)),
      reserve_(reserveOf(root_, parts)),
      store_(root_, reserve_),
      contents_(store_, digests_, reserve_)
{}

void FolderHome::probe()
{
    const FileDescriptor file = openScratch(scratchFolder());
    const std::string text = "probe";
    std::string found(text.size(), ' ');
    writeAll(file.get(), text.data(), text.size());
    if (::fdatasync(file.get()) != 0 || ::pread(file.get(), found.data(), found.size(), 0) < 0) {
        throwErrno("probe");
    }
    if (found != text) {
        throw std::runtime_error("the disk returns other bytes than were written");
    }
    // The start made folders in it. It may have been moved, or its disk is no longer mounted.
    std::error_code error;
    if (fs::is_empty(root_ / "content", error) || error) {
        throw std::runtime_error("the folder content is missing or empty");
    }
}

} // namespace kelvo
