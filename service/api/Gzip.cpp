#include "service/api/Gzip.h"

#include <zlib.h>

#include <array>
#include <stdexcept>

namespace kelvo::api {

/**
 * Tuned for lists of files. Half of a list is digests, whose digits cost less than the short
 * matches that Z_FILTERED leaves out. A record is like the record before it, so the first candidate
 * of a match is good enough.
 */
Gzip::Gzip() : stream_(new z_stream{})
{
    static constexpr int gzipWindow = 15 + 16;
    static constexpr int goodMatch = 32;
    static constexpr int longestMatch = 258;
    static constexpr int candidates = 1;
    if (deflateInit2(stream_.get(), 4, Z_DEFLATED, gzipWindow, 8, Z_FILTERED) != Z_OK ||
        deflateTune(stream_.get(), goodMatch, goodMatch, longestMatch, candidates) != Z_OK) {
        throw std::runtime_error("gzip failed");
    }
}

void Gzip::Free::operator()(z_stream_s* stream) const
{
    deflateEnd(stream);
    delete stream;
}

void Gzip::add(std::string_view text, bool isLast, std::string& packed)
{
    stream_->next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream_->avail_in = static_cast<uInt>(text.size());
    std::array<char, 4096> out;
    do {
        stream_->next_out = reinterpret_cast<Bytef*>(out.data());
        stream_->avail_out = static_cast<uInt>(out.size());
        if (deflate(stream_.get(), isLast ? Z_FINISH : Z_NO_FLUSH) == Z_STREAM_ERROR) {
            throw std::runtime_error("gzip failed");
        }
        packed.append(out.data(), out.size() - stream_->avail_out);
    } while (stream_->avail_out == 0);
}

} // namespace kelvo::api
