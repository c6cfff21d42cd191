#include "service/api/CheckedSource.h"

#include <system_error>

namespace kelvo::api {

CheckedSource::CheckedSource(std::shared_ptr<content::Reader> reader, std::uint64_t sizeBytes,
                             std::string sha256, WorkPool& pool,
                             std::function<void(content::ECondition)> onResult)
    : reader_(std::move(reader)),
      sizeBytes_(sizeBytes),
      sha256_(std::move(sha256)),
      pool_(pool),
      onResult_(std::move(onResult))
{}

Async<std::size_t> CheckedSource::read(asio::mutable_buffer buffer)
{
    std::function<std::size_t()> work = [this, buffer] { return readNow(buffer); };
    co_return co_await pool_.run(std::move(work));
}

std::size_t CheckedSource::readNow(asio::mutable_buffer buffer)
{
    std::size_t got = 0;
    try {
        got = reader_->read(offset_, buffer.data(), buffer.size());
    } catch (const std::system_error&) {
        got = 0; // the disk cannot read it
    }
    if (got == 0) { // or the file was shortened
        onResult_(content::ECondition::Unreadable);
        return 0;
    }
    digest_.add(buffer.data(), got);
    offset_ += got;
    if (offset_ == sizeBytes_) {
        const bool isIntact = digest_.finishHex() == sha256_;
        onResult_(isIntact ? content::ECondition::Intact : content::ECondition::Damaged);
        return isIntact ? got : 0;
    }
    return got;
}

} // namespace kelvo::api
