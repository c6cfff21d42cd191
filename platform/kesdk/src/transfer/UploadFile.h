// A local file that is uploaded.
#pragma once

#include "base/Clock.h"
#include "base/Failure.h"
#include "base/Sha256.h"
#include "http/HttpMessage.h"
#include "transfer/FileHandle.h"

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kesdk::impl {

// Reads the file once, and computes the digest of the whole file.
class UploadFile : public BodySource
{
public:
    Failure Open(const std::string& path);

    std::int64_t SizeBytes() const { return static_cast<std::int64_t>(m_opened.st_size); }
    timespec ModifiedAt() const { return m_opened.st_mtim; }

    // The body begins at `offsetBytes`. Reads the bytes before the offset that the digest lacks.
    Failure StartAt(std::int64_t offsetBytes, const AbortCheck& abort);

    std::int64_t LengthBytes() const override { return SizeBytes() - m_position; }
    std::ptrdiff_t Read(char* buffer, std::size_t sizeBytes) override;
    // Set if Read ended the transfer.
    const Failure& ReadFailure() const { return m_readFailure; }

    // The digest of the whole file as it was first read. Reads the bytes that were not sent.
    Result<Sha256::Digest> Digest(const AbortCheck& abort);

    // Whether inode, size and dates of the path and of the open file are as they were at Open.
    bool IsUnchanged() const;
    // Whether no file has this path any more.
    bool IsRemoved() const;
    // Whether inode, size and date of the open file are unchanged, under any path.
    bool IsContentUnchanged() const;

private:
    Failure HashUpTo(std::int64_t offsetBytes, const AbortCheck& abort);

    std::string m_path;
    FileHandle m_file;
    struct stat m_opened = {};
    Sha256 m_hash;
    std::int64_t m_hashedBytes = 0;
    std::optional<Sha256::Digest> m_digest;
    std::int64_t m_position = 0;
    Failure m_readFailure;
};

} // namespace kesdk::impl
