// Chunked bodies in pieces of any size, and malformed chunks.
#include "service/http/ChunkDecoder.h"

#include <gtest/gtest.h>

#include <array>

namespace kelvo::http {
namespace {

struct Decoded
{
    std::string body;
    std::string rest; // after the body
    bool isComplete = false;
    bool isMalformed = false;
};

Decoded decode(const std::string& text, std::size_t rawPiece, std::size_t bufferBytes)
{
    ChunkDecoder decoder;
    Decoded decoded;
    std::string raw;
    std::string buffer(bufferBytes, '\0');
    std::size_t at = 0;
    for (;;) {
        const auto piece = decoder.decode(raw, boost::asio::buffer(buffer));
        decoded.body.append(buffer, 0, piece.bytes);
        decoded.isMalformed = piece.isMalformed;
        decoded.isComplete = piece.isLast;
        if (piece.isMalformed || piece.isLast || (piece.bytes == 0 && at >= text.size())) {
            decoded.rest = raw + text.substr(std::min(at, text.size()));
            return decoded;
        }
        if (piece.bytes == 0) {
            raw += text.substr(at, rawPiece);
            at += rawPiece;
        }
    }
}

constexpr std::size_t sizes[] = {1, 3, 1000};

TEST(ChunkDecoder, LeavesTheBytesAfterTheBody)
{
    const std::string text =
        "2\r\nab\r\n00A ;x=\"y\"\r\n0123456789\r\n0\r\nA: b\r\nC: d\r\n\r\nGET /";
    for (const std::size_t raw : sizes) {
        for (const std::size_t buffer : sizes) {
            const Decoded decoded = decode(text, raw, buffer);
            EXPECT_TRUE(decoded.isComplete) << raw << " " << buffer;
            EXPECT_EQ(decoded.body, "ab0123456789");
            EXPECT_EQ(decoded.rest, "GET /");
        }
    }
}

TEST(ChunkDecoder, WaitsForTheLastChunk)
{
    for (const char* cut : {"", "2", "2\r", "2\r\na", "2\r\nab", "2\r\nab\r\n", "2\r\nab\r\n0\r\n",
                            "2\r\nab\r\n0\r\nA: b\r\n"}) {
        const Decoded decoded = decode(cut, 1, 10);
        EXPECT_FALSE(decoded.isComplete || decoded.isMalformed) << cut;
    }
}

TEST(ChunkDecoder, RefusesMalformedChunks)
{
    for (const std::string& wrong :
         {std::string("nonsense\r\n"), std::string("\r\n"), std::string("-2\r\nab\r\n"),
          std::string("0x2\r\nab\r\n"), std::string("2\nab\n0\n\n"), std::string("2\r\nabX\r\n"),
          std::string("2\r\nab\n"), std::string("2\rXab"), std::string("2\r\nab\r\r\n"),
          std::string("0\r\nA: b\nC: d\r\n\r\n"), std::string(16, 'f') + "\r\n",
          "2;" + std::string(5000, 'x'), "0\r\nA: " + std::string(5000, 'x')}) {
        for (const std::size_t raw : sizes) {
            EXPECT_TRUE(decode(wrong, raw, 100).isMalformed) << wrong.substr(0, 20);
        }
    }
}

} // namespace
} // namespace kelvo::http
