// Compressed answers.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct isal_zstream;

namespace kelvo::api {

/** Packs a text that arrives in pieces. One thread at a time. Needs about 360 KB. */
class Gzip
{
public:
    Gzip();

    /** Appends packed bytes to `packed`. `isLast`: no text follows. */
    void add(std::string_view text, bool isLast, std::string& packed);

private:
    struct Free
    {
        void operator()(isal_zstream* stream) const;
    };
    std::vector<std::uint8_t> levelBuffer_;
    std::unique_ptr<isal_zstream, Free> stream_;
};

} // namespace kelvo::api
