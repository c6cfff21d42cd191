// The header Upload-Checksum: the digest of one part of an upload.
#pragma once

#include "service/api/Context.h"
#include "service/http/Request.h"

#include <memory>
#include <optional>
#include <string>

struct evp_md_ctx_st;

namespace kelvo::api {

/** The checksum that a request promises, and the running digest of its body. One thread at a time.
 */
class Checksum
{
public:
    static constexpr const char* algorithms = "sha1,sha256";

    /**
     * Empty if the request has no checksum. Throws Problem (malformed-request) if the header is
     * malformed or names another algorithm.
     */
    static std::optional<Checksum> of(const http::Request& request);

    void add(const void* data, std::size_t sizeBytes);

    /** Whether the added bytes have the promised digest. Do not use the object afterwards. */
    bool matches();

private:
    struct Free
    {
        void operator()(evp_md_ctx_st* context) const;
    };

    Checksum(const char* algorithm, std::string wanted);

    std::unique_ptr<evp_md_ctx_st, Free> context_;
    std::string wanted_; // raw bytes
};

/**
 * Receives the body into a file without a name, checks it, then appends it to the upload. False if
 * the body was cut. Throws Problem (checksum-mismatch). The upload is unchanged in both cases.
 */
Async<bool> receiveChecked(Context& context, http::Request& request, Checksum& checksum,
                           content::UploadWriter& writer);

/** Appends the rest of the file to the upload, in steps on the pool. */
Async<void> appendFile(Context& context, const FileDescriptor& file, content::UploadWriter& writer);

} // namespace kelvo::api
