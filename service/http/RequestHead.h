// A request's line and header fields.
#pragma once

#include <boost/beast/http/fields.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelvo::http {

/** The part of a request before its body. */
struct RequestHead
{
    std::string method; // of X-HTTP-Method-Override, if a POST has it
    std::string path;   // still percent-encoded
    std::string query;  // without the '?'
    boost::beast::http::fields fields;
    std::optional<std::uint64_t> contentLength;
    bool isChunked = false;  // the body has no Content-Length, its chunks tell its end
    bool isHeadLine = false; // the request line says HEAD: the answer has no body
    bool isHttp10 = false;
    bool expectsContinue = false;
    bool keepAlive = true;

    /** Empty when absent. Names are compared without case. */
    std::string_view header(std::string_view name) const;
};

enum class EHeadState : std::uint8_t {
    Empty, // no byte of a head: nothing, or the empty line before it
    Incomplete,
    Complete,
    TooLarge,
    LineTooLong, // the request line alone is too large
    Malformed,
    OtherVersion, // neither HTTP/1.0 nor HTTP/1.1
    OtherCoding,  // a transfer coding other than chunked
};

/** Parses one head from bytes that arrive in pieces. */
class HeadParser
{
public:
    explicit HeadParser(std::size_t limitBytes);
    ~HeadParser();

    /** Parses bytes from the front of `bytes` and removes them. */
    EHeadState feed(std::string& bytes);

    /** Valid after Complete. */
    RequestHead take();

private:
    EHeadState tooLarge() const;
    EHeadState checkFields() const;

    struct Parser;
    std::unique_ptr<Parser> parser_;
};

} // namespace kelvo::http
