// One HTTP request to the object store and its answer, over libcurl.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kelvo::objects {

struct Timeouts
{
    std::chrono::milliseconds connect{5000};
    std::chrono::milliseconds total{60000}; // of one attempt
};

struct Outgoing
{
    std::string method;
    std::string url;
    std::vector<std::string> headers; // "Name: value"
    std::string_view body;            // sent with PUT only
    std::size_t mostBytes = 0;        // a longer body of an answer is a failure
    std::string caFile;               // PEM; empty: the system's authorities
    Timeouts timeouts;
};

struct Answer
{
    unsigned status = 0; // 0: no answer; see `failure`
    std::string body;
    std::string contentRange;
    std::int64_t lengthBytes = -1; // of the body, also after HEAD; -1: unknown
    std::string failure;           // the error text of libcurl
    bool isRetryable = false;      // whether another attempt may succeed without an answer
};

/**
 * A libcurl handle with its connection, which stays open for the next exchange. TLS 1.2 or newer;
 * certificate and host name are verified; no redirects, no proxies. Thread: one at a time; blocks
 * until the answer or a timeout.
 */
class Exchange
{
public:
    Exchange();
    ~Exchange();
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    Answer run(const Outgoing& outgoing);

private:
    struct Transfer;
    void prepare(const Outgoing& outgoing, Transfer& transfer);

    std::unique_ptr<void, void (*)(void*)> handle_;
};

} // namespace kelvo::objects
