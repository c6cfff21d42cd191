#include "service/api/Compression.h"

#include "service/base/Encoding.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>

namespace kelvo::api {

namespace {

/** "q=0", "q=0.0" and so on refuse the coding. */
bool isRefused(std::string_view parameters)
{
    const std::size_t mark = parameters.find("q=");
    if (mark == std::string_view::npos) {
        return false;
    }
    const std::string_view weight = trimmed(parameters.substr(mark + 2));
    return weight.find_first_not_of("0.") == std::string_view::npos;
}

} // namespace

bool acceptsGzip(std::string_view header)
{
    while (!header.empty()) {
        const std::size_t end = std::min(header.find(','), header.size());
        const std::string_view item = trimmed(header.substr(0, end));
        const std::size_t semicolon = std::min(item.find(';'), item.size());
        if (trimmed(item.substr(0, semicolon)) == "gzip") {
            return !isRefused(item.substr(semicolon));
        }
        header.remove_prefix(std::min(end + 1, header.size()));
    }
    return false;
}

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
