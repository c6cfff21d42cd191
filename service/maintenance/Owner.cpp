// Whose a folder is.
#include "service/maintenance/Owner.h"

#include "service/base/Files.h"

#include <sys/stat.h>
#include <unistd.h>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

Owner::Owner(const fs::path& folder)
{
    struct stat status
    {};
    if (::stat(folder.c_str(), &status) != 0) {
        throwErrno("stat");
    }
    user_ = status.st_uid;
    group_ = status.st_gid;
    isGiven_ = ::geteuid() == 0 && user_ != 0;
}

void Owner::take(const fs::path& path) const
{
    if (isGiven_ && ::lchown(path.c_str(), user_, group_) != 0) {
        throwErrno("chown");
    }
}

void Owner::takeAll(const fs::path& folder) const
{
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        take(entry.path());
    }
    take(folder);
}

} // namespace kelvo::maintenance
