#include "service/api/Compression.h"

#include <zlib.h>

#include <stdexcept>

namespace kelvo::api {

std::string gzip(std::string_view text)
{
    static constexpr int gzipWindow = 15 + 16;
    z_stream stream{};
    if (deflateInit2(&stream, 4, Z_DEFLATED, gzipWindow, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("gzip failed");
    }
    std::string packed(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    const int result = deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END) {
        throw std::runtime_error("gzip failed");
    }
    return packed;
}

} // namespace kelvo::api
