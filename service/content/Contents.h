// The bytes of uploads and files, wherever they are kept.
#pragma once

#include "service/content/FileStamp.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace kelvo::store {
struct Transaction;
}

namespace kelvo::content {

/** A later receiver has taken the upload over. The bytes since the last flush are not kept. */
class Superseded : public std::runtime_error
{
public:
    Superseded() : std::runtime_error("another request has taken the upload over") {}
};

/** Stored bytes are missing or differ from their digest. */
class DamagedContent : public std::runtime_error
{
public:
    DamagedContent() : std::runtime_error("a stored content is damaged") {}
};

/**
 * Makes a content of a received upload together with the transaction that adds its files. Its
 * destruction changes nothing: a request that ends early does not know the result of its commit.
 */
class Adoption
{
public:
    virtual ~Adoption() = default;
    Adoption() = default;
    Adoption(const Adoption&) = delete;
    Adoption& operator=(const Adoption&) = delete;

    /** Call it in the transaction that adds the files. Throws Superseded. */
    virtual void join(store::Transaction& transaction) = 0;

    /** Whether committed() still has to remove bytes of the upload, and blocks. */
    virtual bool leavesUpload() const = 0;

    /**
     * Call it after the commit, and after a commit in doubt. The upload is gone afterwards. If it
     * cannot be removed, logs this.
     */
    virtual void committed() noexcept = 0;

    /**
     * Call it after a rollback: the upload is as it was before. Blocks. If this fails, logs this,
     * and the client sends the upload again.
     */
    virtual void rolledBack() noexcept = 0;
};

/** Receives the bytes of one upload. Its destruction does not block. */
class Receiver
{
public:
    virtual ~Receiver() = default;
    Receiver() = default;
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /** The bytes so far, flushed or not. */
    virtual std::uint64_t offset() const = 0;

    virtual void append(const void* data, std::size_t sizeBytes) = 0;

    /** Afterwards all appended bytes are kept, and offset() may be acknowledged. */
    virtual void flush() = 0;

    /**
     * Call it when the link was cut, or when the peer pauses. Afterwards the bytes survive the
     * process, and a receiver in another process continues behind them. Only flush() also protects
     * them from a power failure.
     */
    virtual void suspend() = 0;

    /** Flushes and returns the SHA-256 of the upload in hexadecimal. Append nothing afterwards. */
    virtual std::string finish() = 0;

    /** After finish(). Hold the digest's lock from here until committed(). */
    virtual std::unique_ptr<Adoption> adopt() = 0;
};

/** A content or the received bytes of an upload, open for reading. */
class Reader
{
public:
    virtual ~Reader() = default;
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    virtual std::uint64_t sizeBytes() const = 0;

    /** Changes with each write to the content. Empty: read() itself checks all bytes. */
    virtual std::optional<FileStamp> stamp() const = 0;

    /** Reads at least one byte unless `offset` is the end. Throws DamagedContent if it notices. */
    virtual std::size_t read(std::uint64_t offset, void* buffer, std::size_t mostBytes) = 0;
};

/**
 * The store of bytes. An upload grows at its end and survives the process up to its last flush.
 * When its files are committed, it becomes a content under its SHA-256. Equal contents are stored
 * once.
 *
 * Thread: any; a Receiver or Reader is used by one thread at a time; all functions block, so call
 * them on a pool. Errors: besides the named ones, std::system_error of a folder and the errors of
 * the object store and the database. After an error the flushed bytes of an upload stay, except
 * after a failed flush() of a folder, which restarts the upload at 0.
 */
class Contents
{
public:
    virtual ~Contents() = default;
    Contents() = default;
    Contents(const Contents&) = delete;
    Contents& operator=(const Contents&) = delete;

    /** The largest memory of a Receiver of so many bytes; negative: their number is not known. */
    virtual std::uint64_t receiverMemory(long long sizeBytes) const = 0;

    /** Likewise of a Reader. */
    virtual std::uint64_t readerMemory(long long sizeBytes) const = 0;

    /** 0 if the upload is missing. */
    virtual std::uint64_t keptBytes(const std::string& upload) = 0;

    /** Continues the upload, or starts it. */
    virtual std::unique_ptr<Receiver> receive(const std::string& upload) = 0;

    /** Throws std::system_error with ENOSPC if there is no room for so many bytes. */
    virtual void requireRoom(long long sizeBytes) = 0;

    /** Opens the flushed bytes of an upload. Null if the upload is missing. */
    virtual std::unique_ptr<Reader> openUpload(const std::string& upload) = 0;

    virtual void removeUpload(const std::string& upload) = 0;

    /** Null if the content is missing. */
    virtual std::unique_ptr<Reader> open(const std::string& sha256) = 0;

    /** Removes a content that no file uses. The caller holds the digest's lock. */
    virtual void remove(const std::string& sha256) = 0;
};

} // namespace kelvo::content
