// A local file on its way to the service.
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

// Reads the file once, from its start or from where an upload goes on, and computes the digest of
// all of it on the way.
class UploadFile : public BodySource
{
public:
    Failure Open(const std::string& path);

    std::int64_t SizeBytes() const { return static_cast<std::int64_t>(m_opened.st_size); }
    timespec ModifiedAt() const { return m_opened.st_mtim; }

    // The body is from now on what stands behind `offsetBytes`. Reads what the digest still lacks
    // before it.
    Failure StartAt(std::int64_t offsetBytes, const AbortCheck& abort);

    std::int64_t LengthBytes() const override { return SizeBytes() - m_position; }
    std::ptrdiff_t Read(char* buffer, std::size_t sizeBytes) override;
    // How much of the body has been read.
    std::int64_t PositionBytes() const { return m_position; }
    // Why Read ended the transfer, if it did.
    const Failure& ReadFailure() const { return m_readFailure; }

    // Of the whole file as it was read first. Reads what was not sent in this call.
    Result<Sha256::Digest> Digest(const AbortCheck& abort);

    // Whether path and open file are still what they were when it was opened.
    bool IsUnchanged() const;
    // Whether there is nothing under the path any more.
    bool IsRemoved() const;
    // Whether nobody has written to the open file, wherever it is now.
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
