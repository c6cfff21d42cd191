// File operations that the host offers to all components.
#include "host/TFileSystemHelper.h"

#include "hostimpl/Unpacking.h"

#include <QtCore/QFile>

#include <filesystem>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// Goes on after an error, so that as little as possible is left.
bool DeleteContent(const fs::path& folder, bool recursive)
{
    bool isAllGone = true;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const bool isFolder = entry->symlink_status(error).type() == fs::file_type::directory;
        if (isFolder && !recursive) {
            isAllGone = false;
            continue;
        }
        std::error_code deleteError;
        fs::remove_all(entry->path(), deleteError);
        isAllGone = isAllGone && !deleteError;
    }
    return isAllGone && !error;
}

} // namespace

bool TFileSystemHelper::Unzip(const QString& archive, const QString& destinationFolder,
                              QString& errorText)
{
    return hostimpl::Unzip(archive, destinationFolder, hostimpl::TUnpackLimits(), errorText);
}

// An empty path would mean the working directory, and "/" everything: neither can be meant.
bool TFileSystemHelper::DeleteDirGeneric(const QString& path, bool recursive,
                                         bool deleteFolderItself)
{
    fs::path folder(QFile::encodeName(path).toStdString());
    folder = folder.lexically_normal();
    if (!folder.has_filename()) {
        folder = folder.parent_path(); // without the separator at the end, which follows a link
    }
    if (folder.empty() || folder == folder.root_path()) {
        return false;
    }
    std::error_code error;
    const fs::file_type type = fs::symlink_status(folder, error).type();
    if (type == fs::file_type::not_found) {
        return true;
    }
    if (type == fs::file_type::symlink) {
        return deleteFolderItself && fs::remove(folder, error);
    }
    if (type != fs::file_type::directory) {
        return false;
    }
    const bool isContentGone = DeleteContent(folder, recursive);
    return deleteFolderItself ? ::rmdir(folder.c_str()) == 0 : isContentGone;
}
