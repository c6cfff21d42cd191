#include "service/http/ChunkDecoder.h"

#include "service/base/Encoding.h"

#include <algorithm>
#include <cstring>

namespace kelvo::http {

namespace {

constexpr std::size_t longestLineBytes = 4096;
/** 15 digits stay below 2^63. */
constexpr std::size_t mostDigits = 15;

} // namespace

ChunkDecoder::Piece ChunkDecoder::decode(std::string& raw, boost::asio::mutable_buffer buffer)
{
    std::size_t used = 0;
    std::size_t made = 0;
    while (used < raw.size() && state_ != EState::End && state_ != EState::Malformed) {
        if (state_ != EState::Data) {
            step(raw[used++]);
            continue;
        }
        const auto bytes = static_cast<std::size_t>(
            std::min<std::uint64_t>({left_, raw.size() - used, buffer.size() - made}));
        if (bytes == 0) {
            break; // the buffer is full
        }
        std::memcpy(static_cast<char*>(buffer.data()) + made, raw.data() + used, bytes);
        used += bytes;
        made += bytes;
        left_ -= bytes;
        state_ = left_ == 0 ? EState::DataEnd : EState::Data;
    }
    raw.erase(0, used);
    return {made, state_ == EState::End, state_ == EState::Malformed};
}

void ChunkDecoder::step(char c)
{
    if (state_ == EState::Size) {
        stepSize(c);
    } else if (state_ == EState::DataEnd) {
        stepDataEnd(c);
    } else {
        stepLine(c);
    }
}

void ChunkDecoder::stepSize(char c)
{
    const int value = hexValue(c);
    if (value >= 0 && digits_ < mostDigits) {
        left_ = left_ * 16 + static_cast<unsigned>(value);
        ++digits_;
        return;
    }
    const bool isEnd = c == '\r' || c == ';' || c == ' ' || c == '\t';
    state_ = isEnd && digits_ > 0 ? EState::Extension : EState::Malformed;
    lineBytes_ = 0;
    hasReturn_ = c == '\r';
}

/** A byte of an extension or a trailer, or of their line ends. */
void ChunkDecoder::stepLine(char c)
{
    if (c == '\n' && hasReturn_) {
        endLine();
    } else if (hasReturn_ || c == '\n' || lineBytes_ == longestLineBytes) {
        state_ = EState::Malformed;
    } else if (c == '\r') {
        hasReturn_ = true;
    } else {
        ++lineBytes_;
    }
}

void ChunkDecoder::endLine()
{
    hasReturn_ = false;
    if (state_ == EState::Trailer) {
        state_ = lineBytes_ == lineStart_ ? EState::End : EState::Trailer;
        lineStart_ = lineBytes_;
        return;
    }
    state_ = left_ == 0 ? EState::Trailer : EState::Data;
    lineBytes_ = 0;
    lineStart_ = 0;
    digits_ = 0;
}

void ChunkDecoder::stepDataEnd(char c)
{
    if (c == '\r' && !hasReturn_) {
        hasReturn_ = true;
        return;
    }
    state_ = c == '\n' && hasReturn_ ? EState::Size : EState::Malformed;
    hasReturn_ = false;
}

} // namespace kelvo::http
