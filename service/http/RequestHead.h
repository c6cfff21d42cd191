// A request's line and header fields.
#pragma once

#include <boost/beast/http/fields.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelvo::http {

/** What stands before a request's body. */
struct RequestHead
{
    std::string method;
    std::string path;  // still percent-encoded
    std::string query; // without the '?'
    boost::beast::http::fields fields;
    std::optional<std::uint64_t> contentLength;
    bool transferEncoded = false; // chunked and the like, which this service does not take
    bool expectsContinue = false;
    bool keepAlive = true;

    /** Empty when absent. Names are compared without case. */
    std::string_view header(std::string_view name) const;
};

enum class EHeadState : std::uint8_t { Incomplete, Complete, TooLarge, Malformed };

/** Parses one head from bytes that come in pieces. */
class HeadParser
{
public:
    explicit HeadParser(std::size_t limitBytes);
    ~HeadParser();

    /** Takes what it can use from the front of `bytes` and removes it from there. */
    EHeadState feed(std::string& bytes);

    /** After Complete. */
    RequestHead take();

private:
    struct Parser;
    std::unique_ptr<Parser> parser_;
};

} // namespace kelvo::http
