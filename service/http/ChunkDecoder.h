// Decodes a body with the transfer coding "chunked".
#pragma once

#include <boost/asio/buffer.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

namespace kelvo::http {

/** One body, decoded piece by piece. Chunk extensions and trailers are dropped. */
class ChunkDecoder
{
public:
    struct Piece
    {
        std::size_t bytes = 0;
        bool isLast = false;      // the body has ended; the bytes of the next request follow
        bool isMalformed = false; // the end of the body cannot be found any more
    };

    /**
     * Decodes bytes from the front of `raw` into `buffer`, which has room, and removes them. No
     * bytes: more raw bytes are needed.
     */
    Piece decode(std::string& raw, boost::asio::mutable_buffer buffer);

private:
    /**
     * Size -> Extension -> Data -> DataEnd -> Size; a size of 0: Extension -> Trailer -> End. Lines
     * end with CR LF, and a lone LF is refused: another server may see another end of the body.
     */
    enum class EState : std::uint8_t { Size, Extension, Data, DataEnd, Trailer, End, Malformed };

    void step(char c);
    void stepSize(char c);
    void stepLine(char c);
    void stepDataEnd(char c);
    void endLine();

    EState state_ = EState::Size;
    std::uint64_t left_ = 0;    // of the chunk, or its size so far
    std::size_t digits_ = 0;    // of the size
    std::size_t lineBytes_ = 0; // of the extension, or of all trailers
    std::size_t lineStart_ = 0; // of the trailer, in lineBytes_
    bool hasReturn_ = false;    // the last byte was a CR
};

} // namespace kelvo::http
