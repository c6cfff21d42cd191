#include "service/api/Gzip.h"

#include <isa-l/igzip_lib.h>

#include <array>
#include <stdexcept>

namespace kelvo::api {

/**
 * For a list of files, level 0 makes the answer half as large again, and level 3 takes twice as
 * long for the same size.
 */
Gzip::Gzip() : levelBuffer_(ISAL_DEF_LVL1_DEFAULT), stream_(new isal_zstream{})
{
    isal_deflate_init(stream_.get());
    stream_->level = 1;
    stream_->level_buf = levelBuffer_.data();
    stream_->level_buf_size = static_cast<std::uint32_t>(levelBuffer_.size());
    stream_->gzip_flag = IGZIP_GZIP;
}

void Gzip::Free::operator()(isal_zstream* stream) const
{
    delete stream;
}

void Gzip::add(std::string_view text, bool isLast, std::string& packed)
{
    stream_->next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(text.data()));
    stream_->avail_in = static_cast<std::uint32_t>(text.size());
    stream_->end_of_stream = isLast ? 1 : 0;
    std::array<char, 4096> out;
    do {
        stream_->next_out = reinterpret_cast<std::uint8_t*>(out.data());
        stream_->avail_out = static_cast<std::uint32_t>(out.size());
        if (isal_deflate(stream_.get()) != COMP_OK) {
            throw std::runtime_error("gzip failed");
        }
        packed.append(out.data(), out.size() - stream_->avail_out);
    } while (stream_->avail_out == 0);
}

} // namespace kelvo::api
