#include "files/ZipDirectory.h"

#include "files/ArchiveName.h"

#include <QtCore/QtEndian>

#include <algorithm>
#include <cstring>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace hostimpl;

// The fixed parts of the records, in bytes.
constexpr std::int64_t LOCAL_BYTES = 30;
constexpr std::int64_t CENTRAL_BYTES = 46;
constexpr std::int64_t END_BYTES = 22;
constexpr std::int64_t LOCATOR_BYTES = 20;
constexpr std::int64_t ZIP64_END_BYTES = 56;
constexpr std::int64_t FIELD_HEADER_BYTES = 4;
constexpr std::int64_t LONGEST_COMMENT_BYTES = 0xffff;

// A record with one of these values has the true value in its zip64 form.
constexpr std::uint16_t SEE_ZIP64_16 = 0xffff;
constexpr std::uint32_t SEE_ZIP64_32 = 0xffffffff;
constexpr std::uint16_t ZIP64_FIELD = 1;
// The sum of two offsets up to this one does not overflow.
constexpr std::uint64_t LARGEST_PLACE = std::uint64_t{1} << 62;

constexpr std::uint8_t MADE_BY_MS_DOS = 0;
constexpr std::uint8_t MADE_BY_UNIX = 3;
constexpr std::uint32_t MS_DOS_FOLDER = 0x10;

constexpr char OVERLAP[] = "its entries overlap or are cut off";

// The directory is read in one run. The headers of the entries are read at their offsets.
constexpr std::int64_t DIRECTORY_BLOCK_BYTES = std::int64_t{128} * 1024;
constexpr std::int64_t LOCAL_BLOCK_BYTES = 512;

template <typename TNumber>
TNumber Number(const char* at)
{
    return qFromLittleEndian<TNumber>(at);
}

bool HasSignature(const char* record, const char* signature)
{
    return record != nullptr && std::memcmp(record, signature, 4) == 0;
}

// Reads a file in blocks.
class TFileWindow
{
public:
    TFileWindow(int file, std::int64_t blockBytes) : m_file(file), m_blockBytes(blockBytes) {}

    // The bytes at an offset, valid until the next call. Null if the file does not have them.
    const char* At(std::int64_t offset, std::int64_t bytes)
    {
        if (offset < m_offset || offset + bytes > m_offset + m_filled) {
            m_block.resize(static_cast<std::size_t>(std::max(bytes, m_blockBytes)));
            m_offset = offset;
            const ssize_t count = ::pread(m_file, m_block.data(), m_block.size(), offset);
            m_filled = std::max<std::int64_t>(count, 0);
        }
        return bytes <= m_filled ? m_block.data() + (offset - m_offset) : nullptr;
    }

private:
    const int m_file;
    const std::int64_t m_blockBytes;
    std::vector<char> m_block;
    std::int64_t m_offset = 0;
    std::int64_t m_filled = 0;
};

// Returns true if the 32-bit form refers to the zip64 form, or has the same value.
bool IsSame(std::uint32_t small, std::uint64_t large, std::uint32_t seeZip64)
{
    return small == seeZip64 || small == large;
}

// Reads the zip64 record. `locator` and the end record `small` are read already. On success
// `directoryEnd` is the place of the zip64 record.
bool ReadZip64End(TFileWindow& window, const char* locator, const char* small, TEndRecord& end,
                  std::int64_t& directoryEnd)
{
    const auto before = static_cast<std::uint64_t>(directoryEnd - LOCATOR_BYTES);
    const auto place = Number<std::uint64_t>(locator + 8);
    if (place > before - ZIP64_END_BYTES) {
        return false;
    }
    directoryEnd = static_cast<std::int64_t>(place);
    const char* const record = window.At(directoryEnd, ZIP64_END_BYTES);
    if (!HasSignature(record, "PK\6\6") ||
        Number<std::uint64_t>(record + 4) != before - place - 12) {
        return false;
    }
    const auto entries = Number<std::uint64_t>(record + 32);
    const auto bytes = Number<std::uint64_t>(record + 40);
    const auto offset = Number<std::uint64_t>(record + 48);
    end.entries = static_cast<std::int64_t>(std::min<std::uint64_t>(entries, INT64_MAX));
    end.directoryBytes = static_cast<std::int64_t>(bytes);
    end.directoryOffset = static_cast<std::int64_t>(offset);
    return bytes <= place && offset <= place &&
           Number<std::uint64_t>(record + 24) == entries && // on this disk
           IsSame(Number<std::uint16_t>(small + 10), entries, SEE_ZIP64_16) &&
           IsSame(Number<std::uint32_t>(small + 12), bytes, SEE_ZIP64_32) &&
           IsSame(Number<std::uint32_t>(small + 16), offset, SEE_ZIP64_32);
}

std::optional<TEndRecord> EndRecordAt(int file, const char* record, std::int64_t position,
                                      std::int64_t fileBytes)
{
    TEndRecord end = {Number<std::uint16_t>(record + 10), Number<std::uint32_t>(record + 16),
                      Number<std::uint32_t>(record + 12), position + END_BYTES};
    const bool isOneDisk = Number<std::uint32_t>(record + 4) == 0 &&
                           Number<std::uint16_t>(record + 8) == Number<std::uint16_t>(record + 10);
    if (!isOneDisk || end.endOffset + Number<std::uint16_t>(record + 20) > fileBytes) {
        return std::nullopt;
    }
    std::int64_t directoryEnd = position;
    TFileWindow window(file, ZIP64_END_BYTES);
    const char* const locator = position < LOCATOR_BYTES + ZIP64_END_BYTES
                                    ? nullptr
                                    : window.At(position - LOCATOR_BYTES, LOCATOR_BYTES);
    if (HasSignature(locator, "PK\6\7") &&
        !ReadZip64End(window, locator, record, end, directoryEnd)) {
        return std::nullopt;
    }
    return end.directoryOffset + end.directoryBytes == directoryEnd ? std::make_optional(end)
                                                                    : std::nullopt;
}

// An entry's extra fields. The bytes behind the last whole field are padding.
class TExtraFields
{
public:
    TExtraFields(const char* bytes, std::int64_t size) : m_bytes(bytes)
    {
        while (size - m_fieldBytes >= FIELD_HEADER_BYTES && FieldEnd(m_fieldBytes) <= size) {
            m_fieldBytes = FieldEnd(m_fieldBytes);
        }
    }
    std::int64_t FieldBytes() const { return m_fieldBytes; }
    // The numbers of the zip64 field.
    QVector<std::uint64_t> LargeNumbers() const
    {
        QVector<std::uint64_t> numbers;
        for (std::int64_t at = 0; at < m_fieldBytes; at = FieldEnd(at)) {
            std::int64_t next = at + FIELD_HEADER_BYTES;
            while (Number<std::uint16_t>(m_bytes + at) == ZIP64_FIELD && next + 8 <= FieldEnd(at)) {
                numbers.append(Number<std::uint64_t>(m_bytes + next));
                next += 8;
            }
        }
        return numbers;
    }

private:
    std::int64_t FieldEnd(std::int64_t at) const
    {
        return at + FIELD_HEADER_BYTES + Number<std::uint16_t>(m_bytes + at + 2);
    }

    const char* const m_bytes;
    std::int64_t m_fieldBytes = 0;
};

struct TEntry
{
    QByteArray name;
    std::int64_t packedBytes;
    std::int64_t localOffset;
};

// Reads the sizes and the offset of a directory's record. A value that does not fit into 32 bits is
// in the zip64 field. Returns false if the field lacks the value, or if no file can be so large.
bool ReadPlace(const char* record, const TExtraFields& extra, TEntry& entry)
{
    QVector<std::uint64_t> large = extra.LargeNumbers();
    std::uint64_t values[3] = {};
    constexpr int OFFSETS[3] = {24, 20,
                                42}; // unpacked size, packed size, offset: the field's order
    for (int i = 0; i < 3; ++i) {
        values[i] = Number<std::uint32_t>(record + OFFSETS[i]);
        if (values[i] == SEE_ZIP64_32 && !large.isEmpty()) {
            values[i] = large.takeFirst();
        }
    }
    entry.packedBytes = static_cast<std::int64_t>(values[1]);
    entry.localOffset = static_cast<std::int64_t>(values[2]);
    return values[1] <= LARGEST_PLACE && values[2] <= LARGEST_PLACE;
}

bool IsFolderByAttributes(const char* record)
{
    const auto system = static_cast<std::uint8_t>(record[5]);
    const auto attributes = Number<std::uint32_t>(record + 38);
    return (system == MADE_BY_UNIX && S_ISDIR(attributes >> 16)) ||
           (system == MADE_BY_MS_DOS && (attributes & MS_DOS_FOLDER) != 0);
}

class TDirectoryCheck
{
public:
    TDirectoryCheck(int file, const TEndRecord& end)
        : m_end(end), m_directory(file, DIRECTORY_BLOCK_BYTES), m_local(file, LOCAL_BLOCK_BYTES)
    {}

    bool Check();
    const QVector<TByteRange>& Padding() const { return m_padding; }
    const QString& Reason() const { return m_reason; }

private:
    bool CheckEntry(std::int64_t& at);
    bool CheckLocal(const TEntry& entry);
    bool CheckOverlap();
    void NotePadding(const TExtraFields& extra, std::int64_t bytes, std::int64_t offset);
    bool Fail(const char* reason, const QByteArray& name = {});

    const TEndRecord m_end;
    TFileWindow m_directory;
    TFileWindow m_local;
    QVector<TByteRange> m_entries; // headers and content
    // Bounds the work: many entries may claim the same long header.
    std::int64_t m_entryBytes = 0;
    QVector<TByteRange> m_padding;
    QString m_reason;
};

bool TDirectoryCheck::Check()
{
    std::int64_t at = m_end.directoryOffset;
    for (std::int64_t entry = 0; entry < m_end.entries; ++entry) {
        if (!CheckEntry(at)) {
            return false;
        }
    }
    if (at != m_end.directoryOffset + m_end.directoryBytes) {
        return Fail("its directory has more entries than its end record says");
    }
    return CheckOverlap();
}

bool TDirectoryCheck::CheckEntry(std::int64_t& at)
{
    const std::int64_t rest = m_end.directoryOffset + m_end.directoryBytes - at;
    const char* record = rest < CENTRAL_BYTES ? nullptr : m_directory.At(at, CENTRAL_BYTES);
    if (!HasSignature(record, "PK\1\2")) {
        return Fail("its directory has fewer entries than its end record says");
    }
    const auto nameBytes = Number<std::uint16_t>(record + 28);
    const auto extraBytes = Number<std::uint16_t>(record + 30);
    const std::int64_t recordBytes =
        CENTRAL_BYTES + nameBytes + extraBytes + Number<std::uint16_t>(record + 32);
    record = rest < recordBytes ? nullptr : m_directory.At(at, recordBytes);
    if (record == nullptr) {
        return Fail("its directory is cut off");
    }
    TEntry entry = {QByteArray(record + CENTRAL_BYTES, nameBytes), 0, 0};
    const TExtraFields extra(record + CENTRAL_BYTES + nameBytes, extraBytes);
    if (!ReadPlace(record, extra, entry)) {
        return Fail("the place of its entry \"%1\" is wrong", entry.name);
    }
    if (IsFolderByAttributes(record) && !entry.name.endsWith('/') && !entry.name.endsWith('\\')) {
        return Fail("its entry \"%1\" is a file by its name and a folder by its kind", entry.name);
    }
    NotePadding(extra, extraBytes, at + CENTRAL_BYTES + nameBytes);
    at += recordBytes;
    return CheckLocal(entry);
}

bool TDirectoryCheck::CheckLocal(const TEntry& entry)
{
    const char* header = m_local.At(entry.localOffset, LOCAL_BYTES);
    if (!HasSignature(header, "PK\3\4")) {
        return Fail("its entry \"%1\" is not at its place", entry.name);
    }
    const auto nameBytes = Number<std::uint16_t>(header + 26);
    const auto extraBytes = Number<std::uint16_t>(header + 28);
    const std::int64_t headerBytes = LOCAL_BYTES + nameBytes + extraBytes;
    m_entryBytes += headerBytes + entry.packedBytes;
    if (m_entryBytes > m_end.directoryOffset) {
        return Fail(OVERLAP);
    }
    header = m_local.At(entry.localOffset, headerBytes);
    if (header == nullptr) {
        return Fail("its entry \"%1\" is cut off", entry.name);
    }
    if (entry.name != QByteArray::fromRawData(header + LOCAL_BYTES, nameBytes)) {
        return Fail("its entry \"%1\" has two names", entry.name);
    }
    NotePadding(TExtraFields(header + LOCAL_BYTES + nameBytes, extraBytes), extraBytes,
                entry.localOffset + LOCAL_BYTES + nameBytes);
    m_entries.append({entry.localOffset, headerBytes + entry.packedBytes});
    return true;
}

bool TDirectoryCheck::CheckOverlap()
{
    std::sort(m_entries.begin(), m_entries.end(),
              [](const TByteRange& a, const TByteRange& b) { return a.offset < b.offset; });
    std::int64_t free = 0;
    for (const TByteRange& entry : qAsConst(m_entries)) {
        if (entry.offset < free) {
            return Fail(OVERLAP);
        }
        free = entry.offset + entry.bytes;
    }
    return free <= m_end.directoryOffset || Fail(OVERLAP);
}

void TDirectoryCheck::NotePadding(const TExtraFields& extra, std::int64_t bytes,
                                  std::int64_t offset)
{
    if (bytes > extra.FieldBytes()) {
        m_padding.append({offset + extra.FieldBytes(), bytes - extra.FieldBytes()});
    }
}

bool TDirectoryCheck::Fail(const char* reason, const QByteArray& name)
{
    m_reason = QLatin1String(reason);
    if (!name.isEmpty()) {
        m_reason = m_reason.arg(DisplayName(name));
    }
    return false;
}

} // namespace

namespace hostimpl {

// The comment behind the end record may contain the record's signature.
std::optional<TEndRecord> FindEndRecord(int file, std::int64_t fileBytes)
{
    const std::int64_t searched = std::min(fileBytes, END_BYTES + LONGEST_COMMENT_BYTES);
    TFileWindow window(file, searched);
    const char* const tail = window.At(fileBytes - searched, searched);
    for (std::int64_t at = searched - END_BYTES; tail != nullptr && at >= 0; --at) {
        const std::optional<TEndRecord> end =
            HasSignature(tail + at, "PK\5\6")
                ? EndRecordAt(file, tail + at, fileBytes - searched + at, fileBytes)
                : std::nullopt;
        if (end) {
            return end;
        }
    }
    return std::nullopt;
}

bool CheckDirectory(int file, const TEndRecord& end, QVector<TByteRange>& padding, QString& reason)
{
    TDirectoryCheck check(file, end);
    const bool isWhole = check.Check();
    padding = check.Padding();
    reason = check.Reason();
    return isWhole;
}

} // namespace hostimpl
