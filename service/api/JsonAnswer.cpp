#include "service/api/JsonAnswer.h"

#include "service/api/FileSource.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

namespace kelvo::api {

namespace {

/** A smaller answer fits into one packet anyway. */
constexpr std::size_t minPackedBytes = 512;
constexpr std::size_t packAtBytes = 16 * 1024;
constexpr std::size_t mostInMemory = 128 * 1024;

void copyBytes(int from, int to, std::uint64_t sizeBytes)
{
    std::string part(mostInMemory, '\0');
    for (std::uint64_t at = 0; at < sizeBytes;) {
        const ssize_t got = ::pread(from, part.data(), std::min(part.size(), sizeBytes - at),
                                    static_cast<off_t>(at));
        if (got < 0) {
            throwErrno("pread");
        }
        if (got == 0) {
            throw std::runtime_error("a scratch file ends too early");
        }
        writeAll(to, part.data(), static_cast<std::size_t>(got));
        at += static_cast<std::uint64_t>(got);
    }
}

} // namespace

JsonAnswer::JsonAnswer(Context& context, store::Id farm, bool packed)
    : context_(context), farm_(farm), packed_(packed)
{}

void JsonAnswer::beginItem()
{
    if (!hasItems_.empty()) {
        if (hasItems_.back()) {
            write(",");
        }
        hasItems_.back() = true;
    }
}

void JsonAnswer::open(const Json& object, const char* list)
{
    beginItem();
    std::string text = dump(object);
    text.pop_back(); // the list comes before the end of the object
    text += object.empty() ? "\"" : ",\"";
    write(text + list + "\":[");
    hasItems_.push_back(false);
}

void JsonAnswer::add(const Json& item)
{
    beginItem();
    write(dump(item));
}

void JsonAnswer::add(const store::File& item)
{
    beginItem();
    appendJson(text_, item);
    write({});
}

void JsonAnswer::nextList(const char* list)
{
    write(std::string("],\"") + list + "\":[");
    hasItems_.back() = false;
}

void JsonAnswer::close(const Json& members)
{
    write(members.empty() ? "]}" : "]," + dump(members).substr(1));
    hasItems_.pop_back();
}

void JsonAnswer::write(std::string_view text)
{
    text_ += text;
    if (text_.size() >= packAtBytes) {
        packText(false);
    }
}

void JsonAnswer::packText(bool isLast)
{
    digest_.add(text_.data(), text_.size());
    if (packed_ && !gzip_) {
        gzip_.emplace();
    }
    if (packed_) {
        gzip_->add(text_, isLast, body_);
    } else {
        body_ += text_;
    }
    text_.clear();
    if (body_.size() > mostInMemory) {
        spill();
    }
}

void JsonAnswer::spill()
{
    if (isInMemory_ || !storeOnDisk()) {
        storeInMemory();
    }
}

/** False if the disk is full. */
bool JsonAnswer::storeOnDisk()
{
    try {
        if (context_.scratchReserve != nullptr) {
            context_.scratchReserve->requireWhole(); // a released step is for the database
        }
        if (!file_) {
            file_ = openScratch(context_.scratchFolder);
        }
        store();
        return true;
    } catch (const std::system_error& error) {
        if (error.code().value() != ENOSPC && error.code().value() != EDQUOT) {
            throw;
        }
        return false;
    }
}

void JsonAnswer::storeInMemory()
{
    if (storedBytes_ + body_.size() > context_.answersInMemory.bytesOfAFarm()) {
        throw std::system_error(ENOSPC, std::generic_category(), "large answer");
    }
    if (!isInMemory_) {
        FileDescriptor memory = openMemory();
        copyBytes(file_.get(), memory.get(), storedBytes_);
        file_ = std::move(memory);
        isInMemory_ = true;
    }
    store();
}

/** A part of a failed write stays behind the stored bytes; the next write replaces it. */
void JsonAnswer::store()
{
    ::lseek(file_.get(), static_cast<off_t>(storedBytes_), SEEK_SET);
    writeAll(file_.get(), body_.data(), body_.size());
    storedBytes_ += body_.size();
    body_.clear();
}

std::string JsonAnswer::end()
{
    packed_ = packed_ && (gzip_ || text_.size() >= minPackedBytes);
    packText(true);
    gzip_.reset();
    if (file_ && !body_.empty()) {
        spill();
    }
    const std::string digest = digest_.finishHex();
    name_ = digest + (packed_ ? " gzip" : "");
    return digest;
}

void JsonAnswer::moveTo(http::Response& response)
{
    if (file_) {
        AnswerFiles& files = isInMemory_ ? context_.answersInMemory : context_.answerFiles;
        auto file = files.keep(farm_, name_, std::move(file_), storedBytes_);
        response.source =
            std::make_shared<FileSource>(std::move(file), 0, storedBytes_, context_.filePool);
    } else {
        response.body = std::move(body_);
    }
    if (packed_) {
        response.with("Content-Encoding", "gzip");
    }
}

http::Response JsonAnswer::toResponse(unsigned status)
{
    end();
    http::Response response;
    response.status = status;
    response.headers = {{"Content-Type", "application/json"}, {"Cache-Control", "no-store"}};
    moveTo(response);
    return response;
}

} // namespace kelvo::api
