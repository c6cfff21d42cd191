// A request and its response, as the layers above the transport see them.
#pragma once

#include "base/Failure.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kesdk::impl {

struct HttpHeader
{
    std::string name;
    std::string value;
};

struct HttpResponse
{
    int status = 0; // 0 = none was received
    std::vector<HttpHeader> headers;
    std::string body; // what did not go to a sink

    // Null when there is none.
    const std::string* Header(std::string_view name) const;
    bool IsSuccess() const { return status >= 200 && status < 300; }
};

// Gives a request's body piece by piece, on the thread that performs the request.
class BodySource
{
public:
    virtual ~BodySource() = default;
    virtual std::int64_t LengthBytes() const = 0;
    // The number of bytes put into the buffer, 0 at the end, negative to end the transfer.
    virtual std::ptrdiff_t Read(char* buffer, std::size_t sizeBytes) = 0;
};

// Takes a response's body piece by piece, on the thread that performs the request.
class BodySink
{
public:
    virtual ~BodySink() = default;
    // Whether the body goes to this sink; otherwise it is collected in the response.
    virtual bool Accept(const HttpResponse& head) = 0;
    // False ends the transfer.
    virtual bool Write(const char* bytes, std::size_t sizeBytes) = 0;
    // Whether so much comes that a large buffer is worth its memory for as long.
    virtual bool IsForMuch() const { return true; }
};

// A transfer that moves fewer than `stallBytes` in a `stallWindow` has stalled.
struct HttpLimits
{
    std::chrono::milliseconds connect{10'000}; // without a byte, until the handshake is done
    std::chrono::milliseconds total{0};        // 0 = as long as bytes move
    std::chrono::milliseconds head{0}; // from the request to the begin of the answer; 0 = no limit
    std::chrono::milliseconds stallWindow{30'000};
    std::int64_t stallBytes = 30;
};

struct HttpRequest
{
    std::string method = "GET";
    std::string target; // path and query below the base URL
    std::vector<HttpHeader> headers;
    std::string body;
    BodySource* source = nullptr; // instead of `body`; not owned
    BodySink* sink = nullptr;     // not owned
    bool acceptsGzip = false;
    // Whether repeating it does no harm although its method would not say so.
    bool isRepeatable = false;
    HttpLimits limits;
};

// `failure` speaks of the link only: a response with status 500 is no failure here.
struct HttpOutcome
{
    HttpResponse response;
    Failure failure;
    // An earlier try may have reached the service though its answer did not come back. Not only the
    // layers above try again: libcurl does so by itself when a connection that was kept dies.
    bool mayHaveRunBefore = false;
};

} // namespace kesdk::impl
