// Checks that an archive is whole: its end record, its directory and the places of its entries.
#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

#include <cstdint>
#include <optional>

namespace hostimpl {

struct TEndRecord
{
    std::int64_t entries;
    std::int64_t directoryOffset;
    std::int64_t directoryBytes;
    std::int64_t endOffset; // the end of the record; only the archive's comment follows
};

struct TByteRange
{
    std::int64_t offset;
    std::int64_t bytes;
};

// Returns no value if the file has no end record, or if the directory does not end where the end
// record says. Reads the zip64 form too. Bytes before the archive are allowed only if the archive's
// offsets count them.
std::optional<TEndRecord> FindEndRecord(int file, std::int64_t fileBytes);

// Returns false with a reason, a part of a sentence, in these cases:
//
// - The directory has more or fewer entries, or more or fewer bytes, than the end record says.
// - An entry is not at its place, or its two headers have different names.
// - Two entries overlap.
//
// `padding` receives the bytes behind the last whole field of each entry's extra fields. The
// format gives these bytes no meaning.
bool CheckDirectory(int file, const TEndRecord& end, QVector<TByteRange>& padding, QString& reason);

} // namespace hostimpl
