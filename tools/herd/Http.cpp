#include "tools/herd/Http.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/basic_parser.hpp>
#include <boost/beast/http/error.hpp>
#include <zlib.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace herd {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::system::error_code;

constexpr std::size_t mostBodyBytes = std::size_t{256} << 20;

struct Header
{
    beast::string_view name;
    std::string Answer::*value;
};
constexpr Header headers[] = {
    {"Location", &Answer::location},      {"Link", &Answer::link},
    {"ETag", &Answer::entityTag},         {"Repr-Digest", &Answer::digest},
    {"Kelvo-File-Ids", &Answer::fileIds}, {"Upload-Offset", &Answer::offset},
    {"Retry-After", &Answer::retryAfter}, {"Content-Encoding", &Answer::coding},
};

} // namespace

Request requestTo(std::string method, std::string target)
{
    Request request;
    request.method = std::move(method);
    request.target = std::move(target);
    return request;
}

std::string toText(const Request& request, const std::string& host, const std::string& token)
{
    std::string text = request.method + ' ' + request.target + " HTTP/1.1\r\nHost: " + host +
                       "\r\nUser-Agent: kelvo-herd\r\n" + request.headers;
    if (!token.empty()) {
        text += "Authorization: Bearer " + token + "\r\n";
    }
    if (request.part) {
        const std::uint64_t size = request.part->content->sizeBytes() - request.part->offset;
        text += "Content-Type: application/offset+octet-stream\r\nContent-Length: " +
                std::to_string(size) + "\r\n";
    } else if (!request.json.empty()) {
        text += "Content-Type: application/json\r\nContent-Length: " +
                std::to_string(request.json.size()) + "\r\n";
    } else if (request.method != "GET" && request.method != "HEAD") {
        text += "Content-Length: 0\r\n";
    }
    return text + "\r\n" + request.json;
}

std::string unpack(std::string_view packed)
{
    z_stream stream{};
    constexpr int gzipOnly = 16 + MAX_WBITS;
    if (inflateInit2(&stream, gzipOnly) != Z_OK) {
        throw std::runtime_error("gzip is not available");
    }
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    std::string text;
    std::array<char, 16384> buffer;
    int state = Z_OK;
    while (state == Z_OK && text.size() < mostBodyBytes) {
        stream.next_out = reinterpret_cast<Bytef*>(buffer.data());
        stream.avail_out = static_cast<uInt>(buffer.size());
        state = inflate(&stream, Z_NO_FLUSH);
        text.append(buffer.data(), buffer.size() - stream.avail_out);
    }
    inflateEnd(&stream);
    if (state != Z_STREAM_END) {
        throw std::runtime_error("the compressed answer is damaged");
    }
    return text;
}

/** Keeps the headers of `headers` and passes the body on as it comes. */
class AnswerReader::Parser final : public http::basic_parser<false>
{
public:
    explicit Parser(const Request& request) : request_(request)
    {
        eager(true);
        skip(request.method == "HEAD");
        body_limit(boost::none);
    }

    Answer answer;

private:
    void on_request_impl(http::verb, beast::string_view, beast::string_view, int,
                         error_code&) override
    {}

    void on_response_impl(int code, beast::string_view, int, error_code&) override
    {
        answer.status = code;
    }

    void on_field_impl(http::field, beast::string_view name, beast::string_view value,
                       error_code&) override
    {
        for (const Header& header : headers) {
            if (beast::iequals(header.name, name)) {
                (answer.*header.value).assign(value.data(), value.size());
            }
        }
    }

    void on_header_impl(error_code&) override {}
    void on_body_init_impl(const boost::optional<std::uint64_t>&, error_code&) override {}

    std::size_t on_body_impl(beast::string_view bytes, error_code& error) override
    {
        if (request_.sink && (answer.status == 200 || answer.status == 206)) {
            request_.sink(answer, {bytes.data(), bytes.size()});
        } else if (answer.body.size() + bytes.size() > mostBodyBytes) {
            error = http::error::body_limit;
        } else {
            answer.body.append(bytes.data(), bytes.size());
        }
        return bytes.size();
    }

    void on_chunk_header_impl(std::uint64_t, beast::string_view, error_code&) override {}

    std::size_t on_chunk_body_impl(std::uint64_t, beast::string_view bytes,
                                   error_code& error) override
    {
        return on_body_impl(bytes, error);
    }

    void on_finish_impl(error_code&) override {}

    const Request& request_;
};

AnswerReader::AnswerReader(const Request& request) : parser_(std::make_unique<Parser>(request)) {}

AnswerReader::~AnswerReader() = default;

void AnswerReader::take(std::string_view bytes)
{
    rest_ += bytes;
    std::string_view left = rest_;
    while (!left.empty() && !parser_->is_done()) {
        error_code error;
        const std::size_t used = parser_->put(asio::const_buffer(left.data(), left.size()), error);
        left.remove_prefix(used);
        if (error && error != http::error::need_more) {
            throw std::runtime_error("not HTTP: " + error.message());
        }
        if (used == 0) {
            break;
        }
    }
    rest_ = std::string(left);
}

void AnswerReader::takeEnd()
{
    error_code error;
    if (parser_->got_some() && !parser_->is_done()) {
        parser_->put_eof(error);
    }
    if (error || !parser_->is_done()) {
        throw std::runtime_error("the answer ended too early");
    }
}

bool AnswerReader::hasHead() const
{
    return parser_->is_header_done();
}

bool AnswerReader::isWhole() const
{
    return parser_->is_done();
}

bool AnswerReader::keepsAlive() const
{
    return parser_->keep_alive() && rest_.empty();
}

Answer AnswerReader::answer()
{
    Answer result = std::move(parser_->answer);
    if (result.coding == "gzip") {
        result.body = unpack(result.body);
    }
    return result;
}

} // namespace herd
