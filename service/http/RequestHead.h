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
    std::string method;
    std::string path;  // still percent-encoded
    std::string query; // without the '?'
    boost::beast::http::fields fields;
    std::optional<std::uint64_t> contentLength;
    bool transferEncoded = false; // for example chunked; this service takes no such body
    bool expectsContinue = false;
    bool keepAlive = true;

    /** Empty when absent. Names are compared without case. */
    std::string_view header(std::string_view name) const;
};

enum class EHeadState : std::uint8_t { Incomplete, Complete, TooLarge, Malformed };

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
    struct Parser;
    std::unique_ptr<Parser> parser_;
};

} // namespace kelvo::http
