// Dates of files, also those that a time of 32 bits does not reach.
#pragma once

#include <QtCore/QString>

namespace kelvo::test {

// After 2038, when 32 bits are over.
constexpr qint64 farFutureS = 4102444800; // 2100-01-01 00:00 UTC

// As if it had been written last at that time, in seconds since 1970. Links are followed.
bool SetFileDate(const QString& path, qint64 seconds);

// Of the last writing, in seconds since 1970; -1 when it cannot be told.
qint64 FileDate(const QString& path);

} // namespace kelvo::test
