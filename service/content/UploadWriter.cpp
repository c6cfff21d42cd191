#include "service/content/UploadWriter.h"

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvo::content {

namespace {

constexpr std::size_t catchUpChunkBytes = 256UL * 1024;
/** The kernel is asked to write after each step, so the last sync is short. */
constexpr std::uint64_t flushStepBytes = 8ULL * 1024 * 1024;

} // namespace

void DigestCache::put(const std::string& id, Entry entry)
{
    const std::lock_guard lock(mutex_);
    if (entries_.size() >= capacity) {
        entries_.erase(entries_.begin()); // any entry: ids are random
    }
    entries_.insert_or_assign(id, std::move(entry));
}

std::optional<DigestCache::Entry> DigestCache::take(const std::string& id)
{
    const std::lock_guard lock(mutex_);
    auto node = entries_.extract(id);
    return node ? std::optional(std::move(node.mapped())) : std::nullopt;
}

UploadWriter::UploadWriter(const ContentStore& store, DigestCache& cache, const std::string& id)
    : store_(store), cache_(cache), id_(id), file_(store.openUpload(id))
{
    const off_t end = ::lseek(file_.get(), 0, SEEK_END);
    if (end < 0) {
        throwErrno("lseek");
    }
    auto known = cache_.take(id);
    if (known && known->offset == static_cast<std::uint64_t>(end)) {
        digest_ = std::move(known->digest);
        offset_ = known->offset;
    } else {
        digestExisting();
    }
    flushedTo_ = offset_;
}

void UploadWriter::digestExisting()
{
    if (::lseek(file_.get(), 0, SEEK_SET) < 0) {
        throwErrno("lseek");
    }
    const auto buffer = std::make_unique<char[]>(catchUpChunkBytes);
    for (;;) {
        const ssize_t got = ::read(file_.get(), buffer.get(), catchUpChunkBytes);
        if (got == 0) {
            return; // now the file position is at the end, where append() continues
        }
        if (got < 0 && errno != EINTR) {
            throwErrno("read");
        }
        if (got > 0) {
            digest_.add(buffer.get(), static_cast<std::size_t>(got));
            offset_ += static_cast<std::uint64_t>(got);
        }
    }
}

void UploadWriter::append(const void* data, std::size_t sizeBytes)
{
    store_.requireReserve();
    writeAll(file_.get(), data, sizeBytes);
    digest_.add(data, sizeBytes);
    offset_ += sizeBytes;
    if (offset_ - flushedTo_ >= flushStepBytes) {
        ::sync_file_range(file_.get(), static_cast<off_t>(flushedTo_),
                          static_cast<off_t>(offset_ - flushedTo_), SYNC_FILE_RANGE_WRITE);
        flushedTo_ = offset_;
    }
}

void UploadWriter::sync()
{
    if (::fdatasync(file_.get()) != 0) {
        // The kernel reports a write error once. After that it treats the lost bytes as written and
        // returns them from memory. A second attempt would succeed without the bytes on the disk.
        const int why = errno;
        store_.discardUpload(id_);
        errno = why;
        throwErrno("fdatasync");
    }
}

void UploadWriter::suspend()
{
    cache_.put(id_, {std::move(digest_), offset_});
}

std::string UploadWriter::finish()
{
    return digest_.finishHex();
}

} // namespace kelvo::content
