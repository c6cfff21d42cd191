// A file, or a part of it, as the body of an answer.
#pragma once

#include "service/base/Files.h"
#include "service/base/WorkPool.h"
#include "service/http/Response.h"

#include <memory>

namespace kelvo::api {

/** Reads on the pool, which outlives it. */
class FileSource final : public http::BodySource
{
public:
    FileSource(std::shared_ptr<const FileDescriptor> file, std::uint64_t offset,
               std::uint64_t sizeBytes, WorkPool& pool);

    std::uint64_t sizeBytes() const override { return sizeBytes_; }
    Async<std::size_t> read(asio::mutable_buffer buffer) override;

private:
    std::shared_ptr<const FileDescriptor> file_;
    std::uint64_t offset_;
    std::uint64_t sizeBytes_;
    WorkPool& pool_;
};

} // namespace kelvo::api
