// Requests to the service: one connection, verified TLS, problem documents as exceptions.
#pragma once

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvoctl {

// Header names are in lower case.
using Headers = std::map<std::string, std::string>;

// The content of a request, with a known length. Called from inside send(). It cannot be rewound:
// libcurl would then send it again by itself when a kept connection is cut, and the service refuses
// the repeat of an upload with a body. send() reports the cut as an Unreachable that is retryable.
class ContentSource
{
public:
    virtual ~ContentSource() = default;
    virtual std::uint64_t sizeBytes() const = 0;
    virtual std::size_t read(char* buffer, std::size_t capacity) = 0; // 0 at the end
};

struct Request
{
    std::string method;
    std::string path; // below the base path, or an absolute path from the service
    std::vector<std::string> headers;
    std::optional<nlohmann::json> json;
    ContentSource* content = nullptr;
    // Receives the body of a 2xx answer piece by piece. Returning false ends the transfer without
    // an error.
    std::function<bool(long status, const Headers&, std::string_view)> onContent;
    std::chrono::seconds stall{30}; // the transfer fails after this time without a byte
};

struct Response
{
    long status = 0;
    Headers headers;
    std::string body; // empty if onContent received it

    // Empty if the header is missing. The name is in lower case.
    std::string header(const std::string& name) const;
    nlohmann::json json() const;
};

// Thread: one. Owns one libcurl handle, so the requests of a command share a connection. Errors:
// Unreachable for all errors below HTTP; Refused from call() and expect().
class ApiClient
{
public:
    ApiClient(std::string server, std::string caFile, std::string token);
    ~ApiClient();
    ApiClient(const ApiClient&) = delete;
    ApiClient& operator=(const ApiClient&) = delete;

    // Returns any answer of the service. Throws Unreachable.
    Response send(const Request& request);
    // As send(), but throws Refused with the problem's title and detail unless the status is 2xx.
    Response expect(const Request& request);
    nlohmann::json call(const std::string& method, const std::string& path,
                        std::optional<nlohmann::json> body = std::nullopt);

private:
    struct Transfer;
    void prepare(const Request& request, Transfer& transfer);
    void prepareBody(const Request& request, Transfer& transfer);
    void setOption(CURLoption option, auto value);

    std::string m_server;
    std::string m_caFile;
    std::string m_token;
    std::unique_ptr<CURL, void (*)(CURL*)> m_curl;
};

// Throws the answer's refusal, from its problem document if it has one.
[[noreturn]] void throwRefused(const Response& response);

} // namespace kelvoctl
