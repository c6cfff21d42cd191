#include "tests/service/support/ObjectGateway.h"

#include "service/base/Digest.h"
#include "service/base/Encoding.h"

#include <boost/asio/post.hpp>

#include <csignal>
#include <sstream>

namespace kelvo::test {

namespace {

constexpr const char* bucketPath = "/kelvo-test/";

/** An answer whose body ends before its announced length. */
class CutSource final : public http::BodySource
{
public:
    std::uint64_t sizeBytes() const override { return 1; }
    Async<std::size_t> read(asio::mutable_buffer) override { co_return 0; }
};

http::Response cut()
{
    http::Response response;
    response.source = std::make_shared<CutSource>();
    return response;
}

http::Response refusal(unsigned status, const std::string& code)
{
    http::Response response = http::Response::text("<Error><Code>" + code + "</Code></Error>", "");
    response.status = status;
    return response;
}

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

/** Signs the request again with the headers that arrived. */
bool isSigned(const http::Request& request)
{
    const std::string given(request.header("Authorization"));
    const std::size_t begin = given.find("SignedHeaders=");
    const std::size_t end = given.find(",Signature=");
    if (begin == std::string::npos || end == std::string::npos) {
        return false;
    }
    objects::RequestToSign signedRequest{
        request.head.method, request.head.path, request.head.query, {}};
    const std::string names = given.substr(begin + 14, end - begin - 14);
    for (const std::string& name : split(names, ';')) {
        signedRequest.headers.emplace(name, request.header(name));
    }
    const bool coversAll =
        signedRequest.headers.contains("host") && signedRequest.headers.contains("x-amz-date") &&
        signedRequest.headers.contains("x-amz-content-sha256") &&
        signedRequest.headers.contains("range") == !request.header("range").empty();
    return coversAll && given == objects::authorizationOf(
                                     signedRequest, ObjectGateway::credentials(), "us-east-1");
}

} // namespace

ObjectGateway::ObjectGateway(http::Listener::TlsContexts tls) : isTls_(tls != nullptr)
{
    std::signal(SIGPIPE, SIG_IGN); // as the service: a client may close before an answer is written
    const std::vector<asio::io_context*> contexts{&io_};
    listener_.emplace(contexts, http::HostPort{"127.0.0.1", "0"}, std::move(tls),
                      static_cast<http::Application&>(*this), limits_);
    listener_->start();
    thread_ = std::thread([this] { io_.run(); });
}

ObjectGateway::~ObjectGateway()
{
    listener_->stop();
    asio::post(io_, [this] { silence_.cancel(); });
    listener_->abort();
    guard_.reset(); // the thread ends when the last connection is closed
    thread_.join();
}

objects::BucketAddress ObjectGateway::address() const
{
    const std::string port = listener_->address().port;
    objects::BucketAddress address;
    address.endpoint = isTls_ ? "https://localhost:" + port : "http://127.0.0.1:" + port;
    address.bucket = "kelvo-test";
    return address;
}

void ObjectGateway::failNext(const std::vector<EFault>& faults)
{
    const std::lock_guard lock(mutex_);
    faults_.assign(faults.begin(), faults.end());
}

std::map<std::string, std::string> ObjectGateway::objects() const
{
    const std::lock_guard lock(mutex_);
    return objects_;
}

void ObjectGateway::replace(const std::string& key, const std::string& bytes)
{
    const std::lock_guard lock(mutex_);
    objects_.insert_or_assign(key, bytes);
}

std::vector<std::string> ObjectGateway::requests() const
{
    const std::lock_guard lock(mutex_);
    return requests_;
}

int ObjectGateway::attempts() const
{
    const std::lock_guard lock(mutex_);
    return attempts_;
}

std::string ObjectGateway::lastDate() const
{
    const std::lock_guard lock(mutex_);
    return lastDate_;
}

std::size_t ObjectGateway::connections() const
{
    return listener_->openConnections();
}

Async<http::Response> ObjectGateway::handle(http::Request& request)
{
    const std::string body = co_await request.body.readAll(objects::largestObjectBytes);
    EFault fault = EFault::None;
    {
        const std::lock_guard lock(mutex_);
        ++attempts_;
        lastDate_ = request.header("x-amz-date");
        if (!faults_.empty()) {
            fault = faults_.front();
            faults_.pop_front();
        }
    }
    if (fault == EFault::Silent) {
        co_await silence_.async_wait(asio::use_awaitable);
    }
    co_return act(request, body, fault);
}

http::Response ObjectGateway::act(const http::Request& request, const std::string& body,
                                  EFault fault)
{
    if (!isSigned(request)) {
        return refusal(403, "SignatureDoesNotMatch");
    }
    if (request.header("x-amz-content-sha256") != sha256Hex(body)) {
        return refusal(400, "XAmzContentSHA256Mismatch");
    }
    if (fault == EFault::Busy) {
        return refusal(503, "SlowDown");
    }
    if (fault == EFault::RefusedClock) {
        return refusal(403, "RequestTimeTooSkewed");
    }
    if (!request.head.path.starts_with(bucketPath)) {
        return refusal(404, "NoSuchBucket");
    }
    const std::lock_guard lock(mutex_);
    const std::string key = request.head.path.substr(std::string(bucketPath).size());
    requests_.push_back(request.head.method + ' ' + key);
    const auto found = objects_.find(key);
    http::Response response;
    if (request.head.method == "PUT") {
        objects_.insert_or_assign(key, body);
    } else if (request.head.method == "DELETE") {
        objects_.erase(key);
        response.status = 204;
    } else if (found == objects_.end()) {
        response = refusal(404, "NoSuchKey");
    } else {
        response = get(request, found->second, fault);
    }
    if (fault == EFault::DoneButBusy) {
        return refusal(500, "InternalError");
    }
    return fault == EFault::DoneButCut ? cut() : response;
}

http::Response ObjectGateway::get(const http::Request& request, const std::string& bytes,
                                  EFault fault) const
{
    const std::string range(request.header("Range")); // "bytes=5-9"
    if (range.empty() || fault == EFault::WholeObject) {
        return http::Response::text(bytes, "application/octet-stream");
    }
    const std::size_t dash = range.find('-');
    const auto first = parseNumber(std::string_view(range).substr(6, dash - 6)).value();
    const auto last = parseNumber(std::string_view(range).substr(dash + 1)).value();
    if (first >= bytes.size()) {
        return refusal(416, "InvalidRange");
    }
    const auto end = std::min<std::uint64_t>(last + 1, bytes.size());
    std::string part =
        bytes.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(end - first));
    if (fault == EFault::OtherBytes) {
        part.assign(part.size(), '?');
    }
    http::Response response = http::Response::text(std::move(part), "application/octet-stream");
    response.status = 206;
    response.with("Content-Range", "bytes " + std::to_string(first) + '-' +
                                       std::to_string(end - 1) + '/' +
                                       std::to_string(bytes.size()));
    return response;
}

} // namespace kelvo::test
