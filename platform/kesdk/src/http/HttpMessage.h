// A request and its answer, as the layers above the transport see them.
#pragma once

#include "base/Failure.h"
#include "base/Text.h"

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
    std::string body; // unless a sink took it

    // Null if there is no such field.
    const std::string* Header(std::string_view name) const
    {
        for (const HttpHeader& header : headers) {
            if (EqualNoCase(header.name, name))
                return &header.value;
        }
        return nullptr;
    }
    bool IsSuccess() const { return status >= 200 && status < 300; }
};

// Gives a request's body in pieces, on the thread that performs the request.
class BodySource
{
public:
    virtual ~BodySource() = default;
    virtual std::int64_t LengthBytes() const = 0;
    // Returns the number of bytes in the buffer; 0 at the end; negative to end the transfer.
    virtual std::ptrdiff_t Read(char* buffer, std::size_t sizeBytes) = 0;
    // This many bytes of the body have been sent. Called often.
    virtual void NoteSent(std::int64_t) {}
};

// Takes an answer's body in pieces, on the thread that performs the request.
class BodySink
{
public:
    virtual ~BodySink() = default;
    // Whether this sink takes the body. Otherwise the HttpResponse collects it.
    virtual bool Accept(const HttpResponse& head) = 0;
    // False ends the transfer.
    virtual bool Write(const char* bytes, std::size_t sizeBytes) = 0;
    // Whether the body is large enough for a large buffer.
    virtual bool WantsLargeBuffer() const { return true; }
};

// A transfer that moves fewer than `stallBytes` in a `stallWindow` has stalled.
struct HttpLimits
{
    std::chrono::milliseconds connect{10'000}; // until the other end acknowledges a byte
    std::chrono::milliseconds total{0};        // 0 = as long as bytes move
    std::chrono::milliseconds head{0}; // without a byte, until the answer begins; 0 = no limit
    std::chrono::milliseconds stallWindow{30'000};
    std::int64_t stallBytes = 30;
    std::chrono::milliseconds handshake{30'000}; // without a byte, until the TLS handshake is done
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
    // Whether a repeat is safe although the method is not idempotent.
    bool isRepeatable = false;
    HttpLimits limits;
};

// `failure` is about the link only: an answer with status 500 is no failure here.
struct HttpOutcome
{
    HttpResponse response;
    Failure failure;
    // An earlier attempt may have reached the service, and its answer was lost. Libcurl too sends a
    // request again when a kept connection dies.
    bool mayHaveRunBefore = false;
    // The link may be alive: bytes moved in the last third of the time limit, or the console slept.
    bool tellsNothingAboutLink = false;
};

} // namespace kesdk::impl
