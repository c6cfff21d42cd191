// The reader of Upload-Metadata on any text. Values that it accepts can be written and read again
// without a change. The same holds for base64, percent encoding, hexadecimal, numbers and times.
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
    Demand(kelvo::api::parseMetadata(written) == values, "values read again are the same");
}

void TryEncodings(std::string_view text)
{
    Demand(kelvo::fromBase64(kelvo::toBase64(text)) == std::string(text),
           "base64 decodes to its input");
    if (const auto bytes = kelvo::fromBase64(text)) {
        Demand(kelvo::fromBase64(kelvo::toBase64(*bytes)) == bytes,
               "decoded base64 encodes and decodes to the same");
        Demand(bytes->size() <= text.size(), "decoded base64 is not longer");
    }
    if (const auto bytes = kelvo::fromHex(text)) {
        Demand(bytes->size() * 2 == text.size(), "hexadecimal has two digits for each byte");
    }
    if (const auto decoded = kelvo::percentDecode(text)) {
        Demand(decoded->size() <= text.size(), "percent decoding makes no text longer");
        Demand(text.find('%') != std::string_view::npos || *decoded == text,
               "percent decoding changes no text without a percent sign");
    }
    if (const auto number = kelvo::parseNumber(text)) {
        const std::string digits = std::to_string(*number);
        Demand(text.ends_with(digits) && text.find_first_not_of('0') >= text.size() - digits.size(),
               "a number has the digits of the text");
    }
    if (const auto id = kelvo::parseId(text)) {
        Demand(*id >= 1 && *id <= 2147483647, "an id has 31 bits");
    }
    if (const auto time = kelvo::parseRfc3339(text)) {
        Demand(kelvo::parseRfc3339(kelvo::rfc3339(*time)) == time, "a time read again is the same");
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
