// A whole content as the body of a reply, with its digest checked on the way.
#include "service/api/CheckedSource.h"

#include <cerrno>

#include <unistd.h>

namespace kelvo::api {

CheckedSource::CheckedSource(FileDescriptor file, std::uint64_t sizeBytes, std::string sha256,
                             WorkPool& pool, std::function<void(content::ECondition)> told)
    : file_(std::move(file)),
      sizeBytes_(sizeBytes),
      sha256_(std::move(sha256)),
      pool_(pool),
      told_(std::move(told))
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
    if (got <= 0) { // shorter than it was, or the disk cannot read it
        told_(content::ECondition::Unknown);
        return 0;
    }
    const auto bytes = static_cast<std::size_t>(got);
    digest_.add(buffer.data(), bytes);
    offset_ += bytes;
    if (offset_ == sizeBytes_) {
        const bool isRight = digest_.finishHex() == sha256_;
        told_(isRight ? content::ECondition::Right : content::ECondition::Damaged);
        return isRight ? bytes : 0;
    }
    return bytes;
}

} // namespace kelvo::api
