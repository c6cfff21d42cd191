#include "service/maintenance/MovedContents.h"

#include "service/base/Digest.h"
#include "service/base/Files.h"
#include "service/maintenance/AtOnce.h"
#include "service/maintenance/FileCopies.h"
#include "service/store/ChunkTable.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t pieceBytes = 1UL << 20;

/** Appends the bytes that the receiver does not have. Returns the digest of the whole file. */
std::string send(const fs::path& path, content::Receiver& receiver)
{
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!file) {
        throwCannotRead("open");
    }
    const auto piece = std::make_unique<char[]>(pieceBytes);
    Sha256 digest;
    for (std::uint64_t offset = 0;;) {
        const ssize_t got = ::read(file.get(), piece.get(), pieceBytes);
        if (got == 0) {
            return digest.finishHex();
        }
        if (got < 0 && errno != EINTR) {
            throwCannotRead("read");
        }
        if (got > 0) {
            const auto count = static_cast<std::size_t>(got);
            digest.add(piece.get(), count);
            const std::uint64_t kept = receiver.offset();
            if (offset + count > kept) {
                const auto known = static_cast<std::size_t>(std::max(kept, offset) - offset);
                receiver.append(piece.get() + known, count - known);
            }
            offset += count;
        }
    }
}

std::string describe(const CannotRead& error)
{
    return error.code() == std::errc::no_such_file_or_directory
               ? "is missing"
               : "cannot be read: " + error.code().message();
}

} // namespace

std::vector<std::string> MovedContents::move(soci::session& source)
{
    moveContents(source);
    moveUploads(source);
    return std::move(damages_);
}

void MovedContents::moveContents(soci::session& source)
{
    const ContentTotals totals = contentTotals(source);
    progress_.begin("contents moved", static_cast<std::uint64_t>(totals.contents),
                    static_cast<std::uint64_t>(totals.bytes));
    std::vector<WantedContent> page;
    do {
        page = wantedContents(source, page.empty() ? "" : page.back().sha256, contentsPerPage);
        runAtOnce(page.size(), [&](std::size_t number) {
            moveContent(page[number]);
            progress_.add(1, static_cast<std::uint64_t>(page[number].sizeBytes));
        });
    } while (!page.empty());
}

void MovedContents::moveUploads(soci::session& source)
{
    const auto uploads = openUploads(source);
    progress_.begin("uploads moved", uploads.size());
    runAtOnce(uploads.size(), [&](std::size_t number) {
        moveUpload(uploads[number]);
        progress_.add(1);
    });
}

void MovedContents::moveContent(const WantedContent& content)
{
    const auto moved = database_.readNow(
        [&](soci::session& sql) { return store::contentSize(sql, content.sha256); });
    if (moved == content.sizeBytes) {
        return; // by an earlier process
    }
    const std::string name = "content " + content.sha256 + " (" + content.firstFile + "): ";
    try {
        std::string sha256;
        const auto receiver = copy(contentPath(root_, content.sha256), content.sha256, sha256);
        if (sha256 != content.sha256) {
            target_.removeUpload(content.sha256);
            damage(name + "its bytes differ from the uploaded bytes");
            return;
        }
        const auto adoption = receiver->adopt();
        database_.writeNow(
            [&adoption](store::Transaction& transaction) { adoption->join(transaction); });
    } catch (const CannotRead& error) {
        target_.removeUpload(content.sha256);
        damage(name + describe(error));
    }
}

void MovedContents::moveUpload(const OpenUpload& upload)
{
    try {
        std::string sha256;
        const auto receiver = copy(root_ / "uploads" / upload.id, upload.id, sha256);
        if (upload.lengthBytes >= 0 &&
            receiver->offset() > static_cast<std::uint64_t>(upload.lengthBytes)) {
            damage("upload " + upload.id + ": is longer than its announced length");
        }
    } catch (const CannotRead& error) {
        target_.removeUpload(upload.id);
        if (error.code() != std::errc::no_such_file_or_directory) { // else nothing was received yet
            damage("upload " + upload.id + ": " + describe(error));
        }
    }
}

/**
 * Copies a file to the upload `name` of the target. `sha256` becomes the digest of the file. The
 * bytes of an earlier process may be of another state of the file; then all bytes are sent again.
 */
std::unique_ptr<content::Receiver> MovedContents::copy(const fs::path& file,
                                                       const std::string& name, std::string& sha256)
{
    for (;;) {
        auto receiver = target_.receive(name);
        const bool isNew = receiver->offset() == 0;
        sha256 = send(file, *receiver);
        if (receiver->finish() == sha256) {
            return receiver;
        }
        if (isNew) {
            throw std::runtime_error("the file " + file.string() + " changes while it is read");
        }
        target_.removeUpload(name);
    }
}

void MovedContents::damage(const std::string& text)
{
    const std::lock_guard lock(mutex_);
    damages_.push_back(text);
}

} // namespace kelvo::maintenance
