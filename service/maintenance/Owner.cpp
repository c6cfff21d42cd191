#include "service/maintenance/Owner.h"

#include "service/base/FileStatus.h"
#include "service/base/Files.h"

#include <cerrno>
#include <system_error>

#include <unistd.h>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

Owner::Owner(const fs::path& folder)
{
    const std::optional<FileStatus> status = statusOf(folder);
    if (!status) {
        throw std::system_error(ENOENT, std::generic_category(), "statx");
    }
    user_ = status->user;
    group_ = status->group;
    changesOwner_ = ::geteuid() == 0 && user_ != 0;
}

void Owner::applyTo(const fs::path& path) const
{
    if (changesOwner_ && ::lchown(path.c_str(), user_, group_) != 0) {
        throwErrno("chown");
    }
}

void Owner::applyToAll(const fs::path& folder) const
{
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        applyTo(entry.path());
    }
    applyTo(folder);
}

} // namespace kelvo::maintenance
