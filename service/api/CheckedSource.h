// A whole content as the body of a reply, with its digest checked on the way.
#pragma once

#include "service/base/Digest.h"
#include "service/base/Files.h"
#include "service/base/WorkPool.h"
#include "service/content/Integrity.h"
#include "service/http/Response.h"

#include <functional>
#include <string>

namespace kelvo::api {

/**
 * Digests what it reads and keeps the last piece back unless the whole is right: the peer then
 * misses its end and cannot take it for good. Reads on the pool, which outlives it.
 */
class CheckedSource final : public http::BodySource
{
public:
    /** `told` hears once, on the pool, what the content was found to be; Unknown: it could not be
     * read to its end, which says nothing of what it is. */
    CheckedSource(FileDescriptor file, std::uint64_t sizeBytes, std::string sha256, WorkPool& pool,
                  std::function<void(content::ECondition)> told);

    std::uint64_t sizeBytes() const override { return sizeBytes_; }
    Async<std::size_t> read(asio::mutable_buffer buffer) override;

private:
    /** On the pool. 0: it is damaged or cannot be read. */
    std::size_t readNow(asio::mutable_buffer buffer);

    FileDescriptor file_;
    std::uint64_t sizeBytes_;
    std::string sha256_;
    WorkPool& pool_;
    std::function<void(content::ECondition)> told_;
    Sha256 digest_;
    std::uint64_t offset_ = 0;
};

} // namespace kelvo::api
