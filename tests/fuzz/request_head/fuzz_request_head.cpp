// The service's reader of request heads on any bytes. The reader does not crash, and its memory is
// bounded. The size of the pieces makes no difference. A complete head ends with an empty line.
//
// The first byte is the size of the pieces.
#include "service/http/Ranges.h"
#include "service/http/RequestHead.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using kelvo::http::EHeadState;
using kelvo::http::HeadParser;
using kelvo::http::RequestHead;

constexpr std::size_t limitBytes = 2048;

// Ends the program, so that the fuzzer keeps the input.
void Demand(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

struct Outcome
{
    EHeadState state = EHeadState::Empty;
    std::string head;     // the head that was read, as text
    std::string leftOver; // the bytes of the body
};

std::string AsText(const RequestHead& head)
{
    std::string text = head.method + ' ' + head.path + '?' + head.query + '\n';
    text += std::to_string(head.contentLength.value_or(0)) + (head.contentLength ? "+" : "-");
    text += head.isChunked ? 't' : '-';
    text += head.expectsContinue ? 'e' : '-';
    text += head.keepAlive ? 'k' : '-';
    for (const auto& field : head.fields) {
        text += '\n';
        text += std::string_view(field.name_string().data(), field.name_string().size());
        text += ':';
        text += std::string_view(field.value().data(), field.value().size());
    }
    return text;
}

Outcome Read(std::string_view bytes, std::size_t pieceBytes)
{
    HeadParser parser(limitBytes);
    Outcome outcome;
    std::string received;
    while (outcome.state <= EHeadState::Incomplete && !bytes.empty()) {
        const std::size_t taken = std::min(pieceBytes, bytes.size());
        received += bytes.substr(0, taken);
        bytes.remove_prefix(taken);
        outcome.state = parser.feed(received);
        Demand(received.size() <= 2 * limitBytes + pieceBytes, "the memory is bounded");
    }
    if (outcome.state == EHeadState::Complete) {
        outcome.head = AsText(parser.take());
        outcome.leftOver = received + std::string(bytes);
    }
    return outcome;
}

void TryRange(std::string_view header)
{
    for (const std::uint64_t size : {0ull, 1ull, 1000ull, ~0ull}) {
        const auto range = kelvo::http::chooseRange(header, size);
        if (range.kind == kelvo::http::ERange::Part) {
            Demand(range.length > 0 && range.offset < size && range.length <= size - range.offset,
                   "a part lies within the content");
        }
        if (range.kind == kelvo::http::ERange::Whole) {
            Demand(range.offset == 0 && range.length == size, "a whole range is the whole content");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const Outcome whole = Read(bytes, std::max<std::size_t>(bytes.size(), 1));
    const Outcome pieces = Read(bytes, data[0] % 64U + 1U);
    const bool fits = bytes.size() <= limitBytes;
    Demand(!fits || whole.state != EHeadState::TooLarge,
           "a head within the limit is not too large");
    if (whole.state == EHeadState::Complete) {
        Demand(pieces.state == EHeadState::Complete, "a complete head is complete in pieces too");
        Demand(pieces.head == whole.head, "the head in pieces is the same");
        Demand(pieces.leftOver == whole.leftOver, "the body in pieces is the same");
        Demand(bytes.substr(bytes.size() - whole.leftOver.size()) == whole.leftOver,
               "the body is unchanged");
        const std::string_view used = bytes.substr(0, bytes.size() - whole.leftOver.size());
        Demand(used.ends_with("\r\n\r\n") && used.size() <= limitBytes,
               "a head ends with an empty line");
    } else {
        Demand(pieces.state != EHeadState::Complete,
               "an incomplete head is incomplete in pieces too");
    }
    TryRange(bytes);
    return 0;
}
