#include "service/http/RequestHead.h"

#include "service/base/Encoding.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/rfc7230.hpp>

#include <algorithm>
#include <cctype>

namespace kelvo::http {

namespace beast_http = boost::beast::http;

std::string_view RequestHead::header(std::string_view name) const
{
    const auto found = fields.find(boost::beast::string_view(name.data(), name.size()));
    if (found == fields.end()) {
        return {};
    }
    return {found->value().data(), found->value().size()};
}

namespace {

using beast_http::field;

constexpr unsigned http11 = 11;

constexpr const char* methodOverride = "X-HTTP-Method-Override";

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/** A start line that is HTTP of another version than Beast parses. */
bool hasOtherVersion(std::string_view head)
{
    const std::string_view line = head.substr(0, head.find("\r\n"));
    const std::string_view version = line.substr(std::min(line.rfind(' '), line.size()));
    return version.starts_with(" HTTP/") && version.size() == 9 && isDigit(version[6]) &&
           version[7] == '.' && isDigit(version[8]) &&
           std::count(line.begin(), line.end(), ' ') == 2;
}

bool hasOnly(std::string_view text, std::string_view others)
{
    return std::all_of(text.begin(), text.end(), [others](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
               others.find(c) != std::string_view::npos;
    });
}

/** A host with or without a port. An empty host and an empty port are valid. */
bool isHost(std::string_view text)
{
    static constexpr std::uint64_t largestPort = 65535;
    const bool isV6 = text.starts_with('[');
    const std::size_t end = std::min(isV6 ? text.find(']') : text.find(':'), text.size());
    const std::string_view name = text.substr(isV6 ? 1 : 0, isV6 ? end - 1 : end);
    if (!hasOnly(name, isV6 ? ".:%" : "-._~%!$&'()*+,;=") || (isV6 && end == text.size())) {
        return false;
    }
    const std::string_view port = text.substr(isV6 ? end + 1 : end);
    if (port.empty() || port == ":") {
        return true;
    }
    const auto number = parseNumber(port.substr(1));
    return port.front() == ':' && number && *number <= largestPort;
}

/** A client of a proxy sends the target with scheme and host. */
struct Target
{
    explicit Target(std::string_view text) : path(text)
    {
        for (const std::string_view scheme : {"http://", "https://"}) {
            if (boost::beast::iequals(text.substr(0, scheme.size()), scheme)) {
                path.remove_prefix(scheme.size());
                const std::size_t end = std::min(path.find_first_of("/?"), path.size());
                hasWrongHost = end == 0 || !isHost(path.substr(0, end));
                path.remove_prefix(end);
                return;
            }
        }
    }

    std::string_view path; // with the query
    bool hasWrongHost = false;
};

std::string_view viewOf(boost::beast::string_view text)
{
    return {text.data(), text.size()};
}

using Message = beast_http::request_header<>;

/** Proxies repeat any request but a POST. So only a POST can become another method. */
bool hasOneMethod(const Message& message)
{
    const std::string_view method = viewOf(message[methodOverride]);
    const bool isWord =
        std::all_of(method.begin(), method.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    return message.count(methodOverride) <= 1 && isWord &&
           (method.empty() || message.method() == beast_http::verb::post ||
            method == viewOf(message.method_string()));
}

} // namespace

struct HeadParser::Parser
{
    beast_http::request_parser<beast_http::empty_body> beast;
    std::size_t limitBytes = 0;
    std::size_t usedBytes = 0;
    std::size_t lineBytes = 0; // of the request line, as far as it has arrived
};

HeadParser::HeadParser(std::size_t limitBytes) : parser_(std::make_unique<Parser>())
{
    // Beast's own limit is not exact if a head arrives in pieces, so usedBytes is counted here.
    parser_->beast.header_limit(static_cast<std::uint32_t>(2 * limitBytes));
    parser_->limitBytes = limitBytes;
    parser_->beast.body_limit(boost::none); // the body's reader checks its limit
    parser_->beast.skip(true);              // the parser must not wait for the body
}

HeadParser::~HeadParser() = default;

EHeadState HeadParser::feed(std::string& bytes)
{
    if (parser_->usedBytes == 0 && bytes.starts_with("\r\n")) {
        bytes.erase(0, 2); // some clients send an empty line after a body
        parser_->usedBytes = 2;
    }
    if (parser_->usedBytes <= 2 && bytes.starts_with('\r')) {
        const bool mayBeEmptyLine = parser_->usedBytes == 0 && bytes.size() == 1;
        return mayBeEmptyLine ? EHeadState::Empty : EHeadState::Malformed;
    }
    if (parser_->usedBytes <= 2 && bytes.empty()) {
        return EHeadState::Empty;
    }
    if (parser_->usedBytes <= 2) {
        parser_->lineBytes = std::min(bytes.find('\r'), bytes.size());
    }
    boost::system::error_code error;
    const std::size_t used = parser_->beast.put(boost::asio::buffer(bytes), error);
    const bool isOtherVersion = error == beast_http::error::bad_version && hasOtherVersion(bytes);
    bytes.erase(0, used);
    parser_->usedBytes += used;
    const bool isDone = !error && parser_->beast.is_header_done();
    const bool isOpen = error == beast_http::error::need_more || (!error && !isDone);
    const std::size_t headBytes = parser_->usedBytes + (isOpen ? bytes.size() : 0);
    if ((isDone || isOpen) && headBytes > parser_->limitBytes) {
        return tooLarge();
    }
    if (error == beast_http::error::need_more) {
        // If a start line has no version, Beast searches for it beyond the end of the head.
        const bool hasEnded = bytes.find("\r\n\r\n") != std::string::npos;
        return hasEnded ? EHeadState::Malformed : EHeadState::Incomplete;
    }
    if (error == beast_http::error::header_limit || error == beast_http::error::buffer_overflow) {
        return tooLarge();
    }
    if (error) {
        return isOtherVersion ? EHeadState::OtherVersion : EHeadState::Malformed;
    }
    return isDone ? checkFields() : EHeadState::Incomplete;
}

EHeadState HeadParser::tooLarge() const
{
    const bool isLine = parser_->lineBytes > parser_->limitBytes;
    return isLine ? EHeadState::LineTooLong : EHeadState::TooLarge;
}

EHeadState HeadParser::checkFields() const
{
    const auto& message = parser_->beast.get();
    const bool isOld = message.version() < http11;
    const std::size_t hosts = message.count(field::host);
    if (hosts > 1 || (hosts == 0 && !isOld) || !isHost(viewOf(message[field::host])) ||
        Target(viewOf(message.target())).hasWrongHost || !hasOneMethod(message)) {
        return EHeadState::Malformed;
    }
    const std::size_t codings = message.count(field::transfer_encoding);
    if (codings > 0 && isOld) {
        return EHeadState::Malformed;
    }
    const bool isOther =
        codings > 1 ||
        (codings == 1 && !boost::beast::iequals(message[field::transfer_encoding], "chunked"));
    return isOther ? EHeadState::OtherCoding : EHeadState::Complete;
}

RequestHead HeadParser::take()
{
    RequestHead head;
    const auto length = parser_->beast.content_length();
    auto message = parser_->beast.release();
    head.method = std::string(message.method_string());
    head.isHeadLine = head.method == "HEAD";
    if (const auto override = message[methodOverride]; !override.empty()) {
        head.method = std::string(override);
    }
    const std::string_view target = Target(viewOf(message.target())).path;
    const std::size_t mark = target.find('?');
    head.path = target.substr(0, mark);
    head.query = mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
    if (head.path.empty()) {
        head.path = "/";
    }
    head.isHttp10 = message.version() < http11;
    head.keepAlive = message.keep_alive();
    head.isChunked = message.count(field::transfer_encoding) > 0;
    head.expectsContinue =
        !head.isHttp10 && boost::beast::iequals(message[field::expect], "100-continue");
    if (length) {
        head.contentLength = *length;
    }
    head.fields = std::move(static_cast<beast_http::fields&>(message.base()));
    return head;
}

} // namespace kelvo::http
