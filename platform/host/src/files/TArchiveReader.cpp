#include "files/TArchiveReader.h"

#include "files/ArchiveName.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::int64_t BYTES_PER_MEGABYTE = std::int64_t{1024} * 1024;
constexpr std::size_t READ_BLOCK_BYTES = std::size_t{128} * 1024;

// libarchive converts names to the thread's locale. On a console this may be "C", which has no
// characters beyond ASCII. During the object's lifetime the thread's locale is UTF-8.
class TUtf8Locale
{
public:
    TUtf8Locale()
    {
        // Never freed, because every call uses it.
        static const locale_t utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        m_former = ::uselocale(utf8); // null changes nothing
    }
    ~TUtf8Locale() { ::uselocale(m_former); }
    TUtf8Locale(const TUtf8Locale&) = delete;
    TUtf8Locale& operator=(const TUtf8Locale&) = delete;

private:
    locale_t m_former;
};

} // namespace

namespace hostimpl {

TArchiveReader::TArchiveReader(const QString& path, const TUnpackLimits& limits)
    : m_path(path), m_limits(limits), m_archive(nullptr, &archive_read_free)
{}

TArchiveReader::~TArchiveReader() = default;

// Uses only libarchive's reader that follows the archive's directory. The reader for streams also
// accepts entries that the directory does not list.
bool TArchiveReader::Open(QString& errorText)
{
    const TUtf8Locale locale;
    m_file = TDescriptor(
        ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const std::optional<TFileStatus> status =
        m_file.IsValid() ? StatusOf(m_file.Get()) : std::nullopt;
    if (!status) {
        errorText =
            QStringLiteral("The archive %1 cannot be opened: %2.").arg(m_path, SystemError(errno));
        return false;
    }
    if (!S_ISREG(status->mode)) {
        errorText = QStringLiteral("The archive %1 is not a file.").arg(m_path);
        return false;
    }
    m_archiveBytes = status->sizeBytes;
    if (!CheckDirectoryAndPadding(errorText)) {
        return false;
    }
    // libarchive does not accept an archive without entries.
    if (m_listedEntries > 0 && !OpenInLibrary()) {
        errorText = Damaged();
        return false;
    }
    return true;
}

// libarchive ignores the counts of the end record and skips entries that overlap. It also searches
// only 16 KiB for the end record, so it gets the archive without the comment.
bool TArchiveReader::CheckDirectoryAndPadding(QString& errorText)
{
    const std::optional<TEndRecord> end = FindEndRecord(m_file.Get(), m_archiveBytes);
    if (!end) {
        errorText = Damaged(QStringLiteral("it has no end record that fits"));
        return false;
    }
    m_archiveBytes = end->endOffset;
    m_listedEntries = end->entries;
    if (m_listedEntries > m_limits.entries) {
        errorText = QStringLiteral("The archive is refused: it has more than %1 entries.")
                        .arg(m_limits.entries);
        return false;
    }
    QString reason;
    if (!CheckDirectory(m_file.Get(), *end, m_padding, reason)) {
        errorText = Damaged(reason);
        return false;
    }
    std::sort(m_padding.begin(), m_padding.end(),
              [](const TByteRange& a, const TByteRange& b) { return a.offset < b.offset; });
    return true;
}

// libarchive's own reader of open files is not used. It asks for the file's dates and fails if a
// date does not fit into 32 bits.
bool TArchiveReader::OpenInLibrary()
{
    m_block.resize(READ_BLOCK_BYTES);
    m_archive.reset(archive_read_new());
    archive* const library = m_archive.get();
    return library != nullptr && archive_read_support_format_zip_seekable(library) == ARCHIVE_OK &&
           archive_read_set_read_callback(library, &OnRead) == ARCHIVE_OK &&
           archive_read_set_skip_callback(library, &OnSkip) == ARCHIVE_OK &&
           archive_read_set_seek_callback(library, &OnSeek) == ARCHIVE_OK &&
           archive_read_set_callback_data(library, this) == ARCHIVE_OK &&
           archive_read_open1(library) == ARCHIVE_OK;
}

ssize_t TArchiveReader::OnRead(archive* library, void* self, const void** block)
{
    auto& reader = *static_cast<TArchiveReader*>(self);
    *block = reader.m_block.data();
    ssize_t count = -1;
    do {
        const std::int64_t rest =
            std::max<std::int64_t>(reader.m_archiveBytes - reader.m_position, 0);
        const auto wanted = static_cast<std::size_t>(
            std::min<std::int64_t>(rest, static_cast<std::int64_t>(reader.m_block.size())));
        count = ::pread(reader.m_file.Get(), reader.m_block.data(), wanted, reader.m_position);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        archive_set_error(library, errno, "it cannot be read: %s", std::strerror(errno));
        return count;
    }
    reader.ZeroPadding(count);
    reader.m_position += count;
    return count;
}

// libarchive refuses padding unless its bytes are zero. Other programs ignore the bytes.
void TArchiveReader::ZeroPadding(std::int64_t blockBytes)
{
    const std::int64_t blockEnd = m_position + blockBytes;
    const auto* range = std::lower_bound(
        m_padding.cbegin(), m_padding.cend(), m_position,
        [](const TByteRange& a, std::int64_t offset) { return a.offset + a.bytes <= offset; });
    for (; range != m_padding.cend() && range->offset < blockEnd; ++range) {
        const std::int64_t begin = std::max(range->offset, m_position);
        const std::int64_t end = std::min(range->offset + range->bytes, blockEnd);
        std::fill_n(m_block.begin() + static_cast<std::ptrdiff_t>(begin - m_position), end - begin,
                    '\0');
    }
}

std::int64_t TArchiveReader::OnSkip(archive*, void* self, std::int64_t bytes)
{
    auto& reader = *static_cast<TArchiveReader*>(self);
    const std::int64_t rest = reader.m_archiveBytes - reader.m_position;
    const std::int64_t skipped =
        std::clamp<std::int64_t>(bytes, 0, std::max<std::int64_t>(rest, 0));
    reader.m_position += skipped;
    return skipped;
}

// Offsets come from the archive, so that any number is possible.
std::int64_t TArchiveReader::OnSeek(archive*, void* self, std::int64_t offset, int whence)
{
    auto& reader = *static_cast<TArchiveReader*>(self);
    const std::int64_t base = whence == SEEK_SET   ? 0
                              : whence == SEEK_CUR ? reader.m_position
                                                   : reader.m_archiveBytes;
    std::int64_t position = 0;
    if (__builtin_add_overflow(base, offset, &position) || position < 0) {
        return ARCHIVE_FATAL;
    }
    return reader.m_position = position;
}

ENextEntry TArchiveReader::Next(TArchiveEntry& entry, QString& errorText)
{
    const TUtf8Locale locale;
    archive_entry* header = nullptr;
    const int result =
        m_listedEntries == 0 ? ARCHIVE_EOF : archive_read_next_header(m_archive.get(), &header);
    if (result == ARCHIVE_EOF) {
        return End(errorText);
    }
    if (result != ARCHIVE_OK) {
        errorText = Damaged();
        return ENextEntry::eRefused;
    }
    m_entryName = archive_entry_pathname(header);
    ++m_entries;
    const TArchiveName name = CheckArchiveName(m_entryName, m_limits);
    errorText = name.errorText.isEmpty() ? TypeRefusal(header) : name.errorText;
    if (!errorText.isEmpty() || !IsWithinLimits(archive_entry_size(header), errorText)) {
        return ENextEntry::eRefused;
    }
    entry.path = name.path;
    entry.isFolder = archive_entry_filetype(header) == AE_IFDIR || m_entryName.endsWith('/') ||
                     m_entryName.endsWith('\\');
    if (entry.isFolder && archive_entry_size(header) > 0) {
        errorText = Damaged(QStringLiteral("a folder has content"));
        return ENextEntry::eRefused;
    }
    if (entry.path.isEmpty() && !entry.isFolder) {
        errorText = QStringLiteral("The archive is refused: it has a file without a name.");
        return ENextEntry::eRefused;
    }
    return ENextEntry::eEntry;
}

ENextEntry TArchiveReader::End(QString& errorText) const
{
    if (m_entries == m_listedEntries) {
        return ENextEntry::eEnd;
    }
    errorText = Damaged(
        QStringLiteral("it has %1 entries instead of %2").arg(m_entries).arg(m_listedEntries));
    return ENextEntry::eRefused;
}

// libarchive reports an entry that an archiver read from a pipe as a file, which is right.
QString TArchiveReader::TypeRefusal(archive_entry* entry) const
{
    const char* reason = nullptr;
    if (archive_entry_is_encrypted(entry) != 0) {
        reason = "is encrypted";
    } else if (archive_entry_symlink(entry) != nullptr ||
               archive_entry_hardlink(entry) != nullptr) {
        reason = "is a link";
    } else if (archive_entry_filetype(entry) != AE_IFREG &&
               archive_entry_filetype(entry) != AE_IFDIR) {
        reason = "is neither a file nor a folder";
    }
    return reason == nullptr ? QString()
                             : QStringLiteral("The archive is refused: its entry \"%1\" %2.")
                                   .arg(DisplayName(m_entryName), QLatin1String(reason));
}

bool TArchiveReader::CopyContent(int descriptor, QString& errorText)
{
    const void* block = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    std::int64_t copiedBytes = 0;
    for (;;) {
        const int result = archive_read_data_block(m_archive.get(), &block, &size, &offset);
        if (result == ARCHIVE_EOF) {
            return true;
        }
        if (result != ARCHIVE_OK || offset != copiedBytes) {
            errorText = Damaged();
            return false;
        }
        const auto blockBytes = static_cast<std::int64_t>(size);
        if (!IsWithinLimits(blockBytes, errorText)) {
            return false;
        }
        if (!WriteAll(descriptor, block, size)) {
            errorText = QStringLiteral("The file \"%1\" cannot be written: %2.")
                            .arg(DisplayName(m_entryName), SystemError(errno));
            return false;
        }
        copiedBytes += blockBytes;
        m_unpackedBytes += blockBytes;
    }
}

// Called with an entry's stated size before the unpacking, and with the real size of each block
// during the unpacking.
bool TArchiveReader::IsWithinLimits(std::int64_t moreBytes, QString& errorText) const
{
    const std::int64_t allowedByRatio =
        std::max(m_limits.ratioFloorBytes, m_archiveBytes * m_limits.ratio);
    const std::int64_t allowed = std::min(m_limits.totalBytes, allowedByRatio);
    if (moreBytes >= 0 && moreBytes <= allowed - m_unpackedBytes) {
        return true;
    }
    errorText = QStringLiteral("The archive is refused: unpacked it is larger than %1 MB, which "
                               "is the most for an archive of its size.")
                    .arg(allowed / BYTES_PER_MEGABYTE);
    return false;
}

QString TArchiveReader::Damaged() const
{
    const char* const detail =
        m_archive == nullptr ? nullptr : archive_error_string(m_archive.get());
    return Damaged(detail == nullptr ? QStringLiteral("no details") : QString::fromUtf8(detail));
}

QString TArchiveReader::Damaged(const QString& detail) const
{
    const QString where =
        m_entryName.isEmpty()
            ? QString()
            : QStringLiteral(" at the entry \"%1\"").arg(DisplayName(m_entryName));
    return QStringLiteral("The archive %1 is damaged or no ZIP archive%2 (%3).")
        .arg(QFileInfo(m_path).fileName(), where, detail);
}

} // namespace hostimpl
