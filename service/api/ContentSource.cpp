#include "service/api/ContentSource.h"

#include "service/base/Log.h"
#include "service/base/Unavailable.h"

namespace kelvo::api {

using content::ECondition;

ContentSource::ContentSource(std::shared_ptr<content::Reader> reader, std::uint64_t offset,
                             std::uint64_t sizeBytes, WorkPool& pool,
                             std::function<void(ECondition)> onFailure)
    : reader_(std::move(reader)),
      offset_(offset),
      sizeBytes_(sizeBytes),
      pool_(pool),
      onFailure_(std::move(onFailure))
{}

Async<std::size_t> ContentSource::read(asio::mutable_buffer buffer)
{
    std::function<std::size_t()> work = [this, buffer] { return readNow(buffer); };
    co_return co_await pool_.run(std::move(work));
}

std::size_t ContentSource::readNow(asio::mutable_buffer buffer)
{
    try {
        const std::size_t got = reader_->read(offset_, buffer.data(), buffer.size());
        offset_ += got;
        if (got > 0) {
            return got;
        }
        onFailure_(ECondition::Unreadable); // the file was shortened
    } catch (const content::DamagedContent&) {
        onFailure_(ECondition::Damaged);
    } catch (const Unavailable& error) {
        logWarning("content-not-read", error.what()); // the content is not damaged
    } catch (const std::exception& error) {
        logWarning("content-not-read", error.what());
        onFailure_(ECondition::Unreadable);
    }
    return 0;
}

} // namespace kelvo::api
