// Reads a ZIP archive from an untrusted source.
#pragma once

#include "hostimpl/Unpacking.h"

#include "files/Posix.h"
#include "files/ZipDirectory.h"

#include <QtCore/QByteArray>

#include <cstdint>
#include <memory>
#include <vector>

struct archive;
struct archive_entry;

namespace hostimpl {

struct TArchiveEntry
{
    QByteArray path; // the result of CheckArchiveName(); empty for the destination itself
    bool isFolder = false;
};

enum class ENextEntry : std::uint8_t { eEntry, eEnd, eRefused };

// Returns the entries once, in the archive's order, and accepts only files and folders with
// harmless names. eEnd means that every entry of the archive's directory was returned. One thread.
// Errors: texts for the operator. After an error the reader must not be used again.
class TArchiveReader
{
public:
    TArchiveReader(const QString& path, const TUnpackLimits& limits);
    ~TArchiveReader();

    bool Open(QString& errorText);
    ENextEntry Next(TArchiveEntry& entry, QString& errorText);
    // Writes the content of the current file, which Next() returned last.
    bool CopyContent(int descriptor, QString& errorText);

private:
    bool CheckDirectoryAndPadding(QString& errorText);
    bool OpenInLibrary();
    void ZeroPadding(std::int64_t blockBytes);
    ENextEntry End(QString& errorText) const;
    QString TypeRefusal(archive_entry* entry) const;
    bool IsWithinLimits(std::int64_t moreBytes, QString& errorText) const;
    QString Damaged() const;
    QString Damaged(const QString& detail) const;

    // Callbacks of libarchive; `self` is the reader.
    static ssize_t OnRead(archive* library, void* self, const void** block);
    static std::int64_t OnSkip(archive* library, void* self, std::int64_t bytes);
    static std::int64_t OnSeek(archive* library, void* self, std::int64_t offset, int whence);

    const QString m_path;
    const TUnpackLimits m_limits;
    TDescriptor m_file;
    std::vector<char> m_block; // the buffer of OnRead()
    std::int64_t m_position = 0;
    std::unique_ptr<archive, int (*)(archive*)> m_archive;
    QByteArray m_entryName;
    QVector<TByteRange> m_padding;    // sorted
    std::int64_t m_archiveBytes = 0;  // without the comment at the end
    std::int64_t m_listedEntries = 0; // by the end record
    std::int64_t m_entries = 0;
    std::int64_t m_unpackedBytes = 0;
};

} // namespace hostimpl
