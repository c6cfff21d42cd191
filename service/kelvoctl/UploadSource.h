// A local file as the content of requests. Each byte is digested when it is sent.
#pragma once

#include "service/base/Digest.h"
#include "service/base/Files.h"
#include "service/kelvoctl/ApiClient.h"

#include <filesystem>

namespace kelvoctl {

// Sends the file from an offset to the length that it had when it was opened. The digest covers
// every byte from the start: after a jump the part before the offset is read again. Errors:
// LocalFailure if the file cannot be read or was shortened.
class UploadSource : public ContentSource
{
public:
    explicit UploadSource(std::filesystem::path path);

    std::uint64_t fileSizeBytes() const { return m_sizeBytes; }
    void startAt(std::uint64_t offset);
    // Returns the hexadecimal digest of the whole file as it was sent. Call it once, after all
    // bytes were read.
    std::string digest();

    std::uint64_t sizeBytes() const override { return m_sizeBytes - m_start; }
    std::size_t read(char* buffer, std::size_t capacity) override;

private:
    std::filesystem::path m_path;
    kelvo::FileDescriptor m_file;
    std::uint64_t m_sizeBytes = 0;
    std::uint64_t m_start = 0;
    std::uint64_t m_position = 0;
    kelvo::Sha256 m_sha256;
};

} // namespace kelvoctl
