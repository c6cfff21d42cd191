// Writes ZIP archives byte by byte, also broken ones.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

#include <optional>

namespace kelvo::test {

// File types and modes, as in the upper half of an entry's attributes.
constexpr quint32 regularMode = 0100644;
constexpr quint32 folderMode = 0040755;
constexpr quint32 symlinkMode = 0120777;
constexpr quint32 fifoMode = 0010644;
constexpr quint32 blockDeviceMode = 0060600;
constexpr quint32 characterDeviceMode = 0020600;
constexpr quint32 socketMode = 0140755;

constexpr quint16 encryptedFlag = 1u << 0;
constexpr quint16 utf8Flag = 1u << 11;

struct TZipEntry
{
    QByteArray name;
    QByteArray content = {};
    bool isDeflated = false;
    bool isZip64 = false;
    quint32 mode = regularMode;
    quint16 flags = utf8Flag;
    std::optional<quint32> crc = {};           // a wrong checksum
    std::optional<quint64> unpackedBytes = {}; // a wrong size; above 32 bits only with isZip64
    std::optional<QByteArray> localName = {};  // another name than in the directory
    // The offset of an existing local entry to use. Without it the entry gets its own.
    std::optional<quint64> localOffset = {};
    QByteArray moreExtra = {}; // behind the extra fields of both headers
};

class TZipBuilder
{
public:
    TZipBuilder& Add(const TZipEntry& entry);
    TZipBuilder& AddFile(const QByteArray& name, const QByteArray& content);
    TZipBuilder& AddFolder(const QByteArray& name);
    // Returns the archive. With `isZip64` its directory has the zip64 form. The archive will be
    // written behind `bytesBefore` other bytes; more than 4 GiB of them need the zip64 form.
    QByteArray Build(bool isZip64 = false, quint64 bytesBefore = 0) const;

private:
    QVector<TZipEntry> m_entries;
};

// An archive with one file.
QByteArray ZipOf(const QByteArray& name, const QByteArray& content);

// The local entry: header, name and packed content.
QByteArray LocalEntry(const TZipEntry& entry);

// The deflated content, without a header.
QByteArray Deflated(const QByteArray& content);

} // namespace kelvo::test
