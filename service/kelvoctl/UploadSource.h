// A local file as the content of requests, digested in the same pass that sends it.
#pragma once

#include "service/base/Digest.h"
#include "service/base/Files.h"
#include "service/kelvoctl/ApiClient.h"

#include <filesystem>

namespace kelvoctl {

// Sends the file from a settable offset to the length it had when it was opened. The digest covers
// every byte from the first: after a jump the part before the offset is read again.
// Errors: UsageError when the file cannot be read or became shorter.
class UploadSource : public ContentSource
{
public:
    explicit UploadSource(std::filesystem::path path);

    std::uint64_t fileSizeBytes() const { return m_sizeBytes; }
    void startAt(std::uint64_t offset);
    // Digest in hexadecimal of the whole file as it was sent; call it once, after everything was
    // read.
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
