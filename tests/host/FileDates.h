// Reads and sets dates of files, also dates after 2038.
#pragma once

#include <QtCore/QString>

namespace kelvo::test {

// A date that does not fit into 32 bits.
constexpr qint64 farFutureS = 4102444800; // 2100-01-01 00:00 UTC

// Sets the date of the last change, in seconds since 1970. Links are followed.
bool SetFileDate(const QString& path, qint64 seconds);

// The date of the last change, in seconds since 1970, or -1 on failure.
qint64 FileDate(const QString& path);

} // namespace kelvo::test
