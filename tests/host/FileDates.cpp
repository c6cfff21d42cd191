// Only this file is compiled with a 64-bit time_t, also on a 32-bit console. Therefore its
// interface uses qint64 and no time_t.
#include "host/FileDates.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <sys/stat.h>

static_assert(sizeof(time_t) == 8, "_TIME_BITS is not set for this file");

namespace kelvo::test {

bool SetFileDate(const QString& path, qint64 seconds)
{
    timespec times[2] = {};
    times[0].tv_sec = times[1].tv_sec = seconds;
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
}

qint64 FileDate(const QString& path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0
               ? static_cast<qint64>(status.st_mtim.tv_sec)
               : -1;
}

} // namespace kelvo::test
