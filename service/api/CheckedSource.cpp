#include "service/api/CheckedSource.h"

#include <cerrno>

#include <unistd.h>

namespace kelvo::api {

CheckedSource::CheckedSource(FileDescriptor file, std::uint64_t sizeBytes, std::string sha256,
                             WorkPool& pool, std::function<void(content::ECondition)> onResult)
    : file_(std::move(file)),
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
    ssize_t got = 0;
    do {
        got = ::pread(file_.get(), buffer.data(), buffer.size(), static_cast<off_t>(offset_));
    } while (got < 0 && errno == EINTR);
    if (got <= 0) { // the file was shortened, or the disk cannot read it
        onResult_(content::ECondition::Unreadable);
        return 0;
    }
    const auto bytes = static_cast<std::size_t>(got);
    digest_.add(buffer.data(), bytes);
    offset_ += bytes;
    if (offset_ == sizeBytes_) {
        const bool isIntact = digest_.finishHex() == sha256_;
        onResult_(isIntact ? content::ECondition::Intact : content::ECondition::Damaged);
        return isIntact ? bytes : 0;
    }
    return bytes;
}

} // namespace kelvo::api
