// Compressed answers.
#pragma once

#include <memory>
#include <string>
#include <string_view>

struct z_stream_s;

namespace kelvo::api {

/**
 * Packs a text that arrives in pieces. Optimises for speed, not for size. One thread at a time.
 * Needs about 270 KB. Errors: throws std::runtime_error.
 */
class Gzip
{
public:
    Gzip();

    /** Appends packed bytes to `packed`. `isLast`: no text follows. */
    void add(std::string_view text, bool isLast, std::string& packed);

private:
    struct Free
    {
        void operator()(z_stream_s* stream) const;
    };
    std::unique_ptr<z_stream_s, Free> stream_;
};

} // namespace kelvo::api
