// The reader of Upload-Metadata on any text: what it takes can be written again and reads the same;
// base64, percent encoding, hexadecimal, numbers and times hold their own round trips.
#include "service/api/TusMetadata.h"
#include "service/base/Encoding.h"
#include "service/base/Time.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

// Ends the program, so that the fuzzer keeps the input.
void Demand(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

void TryMetadata(std::string_view header)
{
    const auto values = kelvo::api::parseMetadata(header);
    if (!values) {
        return;
    }
    std::string written;
    for (const auto& [key, value] : *values) {
        Demand(!key.empty() && key.find_first_of(" ,") == std::string::npos, "a key is a word");
        written += (written.empty() ? "" : ",") + key + ' ' + kelvo::toBase64(value);
    }
    Demand(kelvo::api::parseMetadata(written) == values, "what was read reads the same again");
}

void TryEncodings(std::string_view text)
{
    Demand(kelvo::fromBase64(kelvo::toBase64(text)) == std::string(text), "base64 comes back");
    if (const auto bytes = kelvo::fromBase64(text)) {
        Demand(kelvo::fromBase64(kelvo::toBase64(*bytes)) == bytes, "so does what was read");
        Demand(bytes->size() <= text.size(), "and is shorter");
    }
    if (const auto bytes = kelvo::fromHex(text)) {
        Demand(bytes->size() * 2 == text.size(), "two digits a byte");
    }
    if (const auto decoded = kelvo::percentDecode(text)) {
        Demand(decoded->size() <= text.size(), "decoding makes nothing longer");
        Demand(text.find('%') != std::string_view::npos || *decoded == text,
               "nor changes the rest");
    }
    if (const auto number = kelvo::parseNumber(text)) {
        const std::string digits = std::to_string(*number);
        Demand(text.ends_with(digits) && text.find_first_not_of('0') >= text.size() - digits.size(),
               "a number is its digits");
    }
    if (const auto id = kelvo::parseId(text)) {
        Demand(*id >= 1 && *id <= 2147483647, "an id has 31 bits");
    }
    if (const auto time = kelvo::parseRfc3339(text)) {
        Demand(kelvo::parseRfc3339(kelvo::rfc3339(*time)) == time, "a time comes back");
    }
    kelvo::isUtf8(text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    TryMetadata(text);
    TryEncodings(text);
    return 0;
}
