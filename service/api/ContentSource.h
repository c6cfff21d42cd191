// A content, or a part of it, as the body of an answer.
#pragma once

#include "service/base/WorkPool.h"
#include "service/content/Contents.h"
#include "service/content/Integrity.h"
#include "service/http/Response.h"

#include <functional>
#include <memory>

namespace kelvo::api {

/** Reads on the pool, which outlives it. If a read fails, the peer misses the end of the body. */
class ContentSource final : public http::BodySource
{
public:
    /**
     * `onFailure` is called on the pool: the content is damaged or cannot be read. An object store
     * that is not available is no such failure.
     */
    ContentSource(std::shared_ptr<content::Reader> reader, std::uint64_t offset,
                  std::uint64_t sizeBytes, WorkPool& pool,
                  std::function<void(content::ECondition)> onFailure);

    std::uint64_t sizeBytes() const override { return sizeBytes_; }
    Async<std::size_t> read(asio::mutable_buffer buffer) override;

private:
    /** Runs on the pool. 0: the read failed. */
    std::size_t readNow(asio::mutable_buffer buffer);

    std::shared_ptr<content::Reader> reader_;
    std::uint64_t offset_;
    std::uint64_t sizeBytes_;
    WorkPool& pool_;
    std::function<void(content::ECondition)> onFailure_;
};

} // namespace kelvo::api
