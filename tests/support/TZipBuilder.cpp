#include "support/TZipBuilder.h"

#include <QtCore/QtEndian>

#include <algorithm>
#include <array>

namespace {

using kelvo::test::TZipEntry;

constexpr quint32 largest32 = 0xffffffffu;
constexpr quint16 madeByUnix = 3u << 8 | 45;
constexpr quint16 zip64Extra = 1;
// The output of qCompress() begins with a length and zlib's two bytes, and ends with zlib's
// checksum.
constexpr int compressHeaderBytes = 4 + 2;
constexpr int compressTrailerBytes = 4;

template <typename TNumber>
void Put(QByteArray& bytes, TNumber number)
{
    const TNumber little = qToLittleEndian(number);
    bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
}

quint32 Crc32(const QByteArray& content)
{
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> rows{};
        for (quint32 row = 0; row < rows.size(); ++row) {
            quint32 value = row;
            for (int bit = 0; bit < 8; ++bit) {
                value = (value & 1u) != 0 ? 0xedb88320u ^ (value >> 1) : value >> 1;
            }
            rows[row] = value;
        }
        return rows;
    }();
    quint32 crc = largest32;
    for (const char character : content) {
        crc = table[(crc ^ static_cast<unsigned char>(character)) & 0xffu] ^ (crc >> 8);
    }
    return crc ^ largest32;
}

struct TSizes
{
    QByteArray packed;
    quint32 crc;
    quint32 unpackedBytes;
    quint32 packedBytes;
    QByteArray large; // the values of the zip64 extra field
};

TSizes SizesOf(const TZipEntry& entry)
{
    TSizes sizes;
    sizes.packed = entry.isDeflated ? kelvo::test::Deflated(entry.content) : entry.content;
    sizes.crc = entry.crc.value_or(Crc32(entry.content));
    const quint64 unpackedBytes =
        entry.unpackedBytes.value_or(static_cast<quint64>(entry.content.size()));
    sizes.unpackedBytes = static_cast<quint32>(unpackedBytes);
    sizes.packedBytes = static_cast<quint32>(sizes.packed.size());
    if (entry.isZip64) {
        Put<quint64>(sizes.large, unpackedBytes);
        Put<quint64>(sizes.large, sizes.packedBytes);
        sizes.unpackedBytes = sizes.packedBytes = largest32;
    }
    return sizes;
}

QByteArray ExtraField(const QByteArray& large)
{
    QByteArray bytes;
    if (!large.isEmpty()) {
        Put<quint16>(bytes, zip64Extra);
        Put<quint16>(bytes, static_cast<quint16>(large.size()));
    }
    return bytes + large;
}

// The fields that both headers of an entry have.
void PutCommon(QByteArray& bytes, const TZipEntry& entry, const TSizes& sizes,
               const QByteArray& name, const QByteArray& extra)
{
    Put<quint16>(bytes, 45); // version needed
    Put<quint16>(bytes, entry.flags);
    Put<quint16>(bytes, entry.isDeflated ? 8 : 0);
    Put<quint32>(bytes, 0x58210000u); // a date
    Put<quint32>(bytes, sizes.crc);
    Put<quint32>(bytes, sizes.packedBytes);
    Put<quint32>(bytes, sizes.unpackedBytes);
    Put<quint16>(bytes, static_cast<quint16>(name.size()));
    Put<quint16>(bytes, static_cast<quint16>(extra.size()));
}

QByteArray DirectoryEntry(const TZipEntry& entry, quint64 offset)
{
    TSizes sizes = SizesOf(entry);
    if (offset >= largest32) {
        Put<quint64>(sizes.large, offset);
    }
    const QByteArray extra = ExtraField(sizes.large) + entry.moreExtra;
    QByteArray bytes("PK\1\2");
    Put<quint16>(bytes, madeByUnix);
    PutCommon(bytes, entry, sizes, entry.name, extra);
    Put<quint16>(bytes, 0); // comment
    Put<quint16>(bytes, 0); // disk
    Put<quint16>(bytes, 0); // internal attributes
    Put<quint32>(bytes, entry.mode << 16);
    Put<quint32>(bytes, static_cast<quint32>(std::min<quint64>(offset, largest32)));
    return bytes + entry.name + extra;
}

QByteArray Zip64End(quint64 entries, quint64 directoryBytes, quint64 directoryOffset)
{
    QByteArray bytes("PK\6\6");
    Put<quint64>(bytes, 44); // the rest of this record, in bytes
    Put<quint16>(bytes, madeByUnix);
    Put<quint16>(bytes, 45);
    Put<quint32>(bytes, 0);
    Put<quint32>(bytes, 0);
    Put<quint64>(bytes, entries);
    Put<quint64>(bytes, entries);
    Put<quint64>(bytes, directoryBytes);
    Put<quint64>(bytes, directoryOffset);
    bytes += "PK\6\7";
    Put<quint32>(bytes, 0);
    Put<quint64>(bytes, directoryOffset + directoryBytes);
    Put<quint32>(bytes, 1);
    return bytes;
}

} // namespace

namespace kelvo::test {

TZipBuilder& TZipBuilder::Add(const TZipEntry& entry)
{
    m_entries.append(entry);
    return *this;
}

TZipBuilder& TZipBuilder::AddFile(const QByteArray& name, const QByteArray& content)
{
    TZipEntry entry;
    entry.name = name;
    entry.content = content;
    return Add(entry);
}

TZipBuilder& TZipBuilder::AddFolder(const QByteArray& name)
{
    TZipEntry entry;
    entry.name = name;
    entry.mode = folderMode;
    return Add(entry);
}

QByteArray TZipBuilder::Build(bool isZip64, quint64 bytesBefore) const
{
    QByteArray bytes;
    QByteArray directory;
    for (const TZipEntry& entry : m_entries) {
        const quint64 here = bytesBefore + static_cast<quint64>(bytes.size());
        directory += DirectoryEntry(entry, entry.localOffset.value_or(here));
        bytes += entry.localOffset ? QByteArray() : LocalEntry(entry);
    }
    const quint64 offset = bytesBefore + static_cast<quint64>(bytes.size());
    const auto size = static_cast<quint32>(directory.size());
    bytes += directory;
    if (isZip64) {
        bytes += Zip64End(static_cast<quint64>(m_entries.size()), size, offset);
    }
    const auto count = static_cast<quint16>(isZip64 ? 0xffff : m_entries.size());
    bytes += "PK\5\6";
    Put<quint16>(bytes, 0);
    Put<quint16>(bytes, 0);
    Put<quint16>(bytes, count);
    Put<quint16>(bytes, count);
    Put<quint32>(bytes, isZip64 ? largest32 : size);
    Put<quint32>(bytes, isZip64 ? largest32 : static_cast<quint32>(offset));
    Put<quint16>(bytes, 0);
    return bytes;
}

QByteArray ZipOf(const QByteArray& name, const QByteArray& content)
{
    return TZipBuilder().AddFile(name, content).Build();
}

QByteArray LocalEntry(const TZipEntry& entry)
{
    const TSizes sizes = SizesOf(entry);
    const QByteArray name = entry.localName.value_or(entry.name);
    const QByteArray extra = ExtraField(sizes.large) + entry.moreExtra;
    QByteArray bytes("PK\3\4");
    PutCommon(bytes, entry, sizes, name, extra);
    return bytes + name + extra + sizes.packed;
}

QByteArray Deflated(const QByteArray& content)
{
    QByteArray bytes = qCompress(content);
    bytes.remove(0, compressHeaderBytes);
    bytes.chop(compressTrailerBytes);
    return bytes;
}

} // namespace kelvo::test
