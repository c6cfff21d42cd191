// Writes ZIP archives byte by byte, also such as no program would write.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

#include <optional>

namespace kelvo::test {

// File types and modes as they stand in the upper half of an entry's attributes.
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
    std::optional<quint32> crc = {};           // a wrong one
    std::optional<quint64> unpackedBytes = {}; // a wrong one; above 32 bits only with isZip64
    std::optional<QByteArray> localName = {};  // another one than in the directory
    // Where its local entry stands already: in another's, or as another's. Else it gets its own.
    std::optional<quint64> localOffset = {};
};

class TZipBuilder
{
public:
    TZipBuilder& Add(const TZipEntry& entry);
    TZipBuilder& AddFile(const QByteArray& name, const QByteArray& content);
    TZipBuilder& AddFolder(const QByteArray& name);
    // The archive; with `isZip64` its directory has the larger form. It is to stand behind so many
    // bytes of something else; a large number of them wants the larger form.
    QByteArray Build(bool isZip64 = false, quint64 bytesBefore = 0) const;

private:
    QVector<TZipEntry> m_entries;
};

// An archive with one file.
QByteArray ZipOf(const QByteArray& name, const QByteArray& content);

// What stands before the directory for an entry: its header, its name, its packed content.
QByteArray LocalEntry(const TZipEntry& entry);

// What deflate makes of it, without any header.
QByteArray Deflated(const QByteArray& content);

} // namespace kelvo::test
