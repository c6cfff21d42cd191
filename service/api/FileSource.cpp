#include "service/api/FileSource.h"

#include <unistd.h>

namespace kelvo::api {

FileSource::FileSource(std::shared_ptr<const FileDescriptor> file, std::uint64_t offset,
                       std::uint64_t sizeBytes, WorkPool& pool)
    : file_(std::move(file)), offset_(offset), sizeBytes_(sizeBytes), pool_(pool)
{}

Async<std::size_t> FileSource::read(asio::mutable_buffer buffer)
{
    std::function<ssize_t()> work = [this, buffer] {
        return ::pread(file_->get(), buffer.data(), buffer.size(), static_cast<off_t>(offset_));
    };
    const ssize_t got = co_await pool_.run(std::move(work));
    if (got <= 0) {
        co_return 0;
    }
    offset_ += static_cast<std::uint64_t>(got);
    co_return static_cast<std::size_t>(got);
}

} // namespace kelvo::api
