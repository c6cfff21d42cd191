// Requests to the service: one connection, verified TLS, problem documents turned into failures.
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

// Header names in lower case.
using Headers = std::map<std::string, std::string>;

// Content that is sent from somewhere, with a known length; called from inside send(). It cannot be
// rewound on purpose: libcurl would send it a second time by itself when a kept connection dies,
// and the service refuses the repeat of an upload that comes with a body. So that is an Unreachable
// that heals.
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
    std::string path; // Below the base path, or an absolute one that came from the service.
    std::vector<std::string> headers;
    std::optional<nlohmann::json> json;
    ContentSource* content = nullptr;
    // Takes the body of a 2xx reply piece by piece; returning false ends the transfer without an
    // error.
    std::function<bool(long status, const Headers&, std::string_view)> onContent;
    std::chrono::seconds stall{30}; // Given up after so long without a byte.
};

struct Response
{
    long status = 0;
    Headers headers;
    std::string body; // Empty when onContent took it.

    // "" when absent; the name in lower case.
    std::string header(const std::string& name) const;
    nlohmann::json json() const;
};

// Thread: one. Owns one libcurl handle, so that a command's requests share a connection.
// Errors: Unreachable for everything below HTTP; Refused from call() and expect().
class ApiClient
{
public:
    ApiClient(std::string server, std::string caFile, std::string token);
    ~ApiClient();
    ApiClient(const ApiClient&) = delete;
    ApiClient& operator=(const ApiClient&) = delete;

    // Whatever the service answers. Throws Unreachable.
    Response send(const Request& request);
    // The same, and throws Refused with the problem's title and detail unless the status is 2xx.
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

// The refusal that a reply stands for, from its problem document if it has one.
[[noreturn]] void throwRefused(const Response& response);

} // namespace kelvoctl
