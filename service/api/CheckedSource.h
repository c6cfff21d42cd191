// A whole content as the body of an answer; its digest is checked while it is read.
#pragma once

#include "service/base/Digest.h"
#include "service/base/WorkPool.h"
#include "service/content/Contents.h"
#include "service/content/Integrity.h"
#include "service/http/Response.h"

#include <functional>
#include <memory>
#include <string>

namespace kelvo::api {

/**
 * Digests the bytes that it reads and returns the last piece only if the whole content is intact.
 * Otherwise the peer misses the end and cannot take the content for complete. Reads on the pool,
 * which outlives it.
 */
class CheckedSource final : public http::BodySource
{
public:
    /**
     * `onResult` is called once, on the pool, with the condition of the content. Unreadable: a read
     * failed, so the condition is not known.
     */
    CheckedSource(std::shared_ptr<content::Reader> reader, std::uint64_t sizeBytes,
                  std::string sha256, WorkPool& pool,
                  std::function<void(content::ECondition)> onResult);

    std::uint64_t sizeBytes() const override { return sizeBytes_; }
    Async<std::size_t> read(asio::mutable_buffer buffer) override;

private:
    /** Runs on the pool. 0: the content is damaged or cannot be read. */
    std::size_t readNow(asio::mutable_buffer buffer);

    std::shared_ptr<content::Reader> reader_;
    std::uint64_t sizeBytes_;
    std::string sha256_;
    WorkPool& pool_;
    std::function<void(content::ECondition)> onResult_;
    Sha256 digest_;
    std::uint64_t offset_ = 0;
};

} // namespace kelvo::api
