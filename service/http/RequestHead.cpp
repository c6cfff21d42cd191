#include "service/http/RequestHead.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/rfc7230.hpp>

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

struct HeadParser::Parser
{
    beast_http::request_parser<beast_http::empty_body> beast;
    std::size_t limitBytes = 0;
    std::size_t usedBytes = 0;
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
    boost::system::error_code error;
    const std::size_t used = parser_->beast.put(boost::asio::buffer(bytes), error);
    bytes.erase(0, used);
    parser_->usedBytes += used;
    const bool isDone = !error && parser_->beast.is_header_done();
    const bool isOpen = error == beast_http::error::need_more || (!error && !isDone);
    const std::size_t headBytes = parser_->usedBytes + (isOpen ? bytes.size() : 0);
    if ((isDone || isOpen) && headBytes > parser_->limitBytes) {
        return EHeadState::TooLarge;
    }
    if (error == beast_http::error::need_more) {
        // If a start line has no version, Beast searches for it beyond the end of the head.
        const bool hasEnded = bytes.find("\r\n\r\n") != std::string::npos;
        return hasEnded ? EHeadState::Malformed : EHeadState::Incomplete;
    }
    if (error == beast_http::error::header_limit || error == beast_http::error::buffer_overflow) {
        return EHeadState::TooLarge;
    }
    if (error) {
        return EHeadState::Malformed;
    }
    return isDone ? EHeadState::Complete : EHeadState::Incomplete;
}

RequestHead HeadParser::take()
{
    RequestHead head;
    const auto length = parser_->beast.content_length();
    auto message = parser_->beast.release();
    head.method = std::string(message.method_string());
    const std::string target(message.target());
    const std::size_t mark = target.find('?');
    head.path = target.substr(0, mark);
    head.query = mark == std::string::npos ? std::string() : target.substr(mark + 1);
    head.keepAlive = message.keep_alive();
    head.transferEncoded = message.find(beast_http::field::transfer_encoding) != message.end();
    head.expectsContinue =
        boost::beast::iequals(message[beast_http::field::expect], "100-continue");
    if (length) {
        head.contentLength = *length;
    }
    head.fields = std::move(static_cast<beast_http::fields&>(message.base()));
    return head;
}

} // namespace kelvo::http
