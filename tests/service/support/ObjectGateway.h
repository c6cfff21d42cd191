// An object store within the test that checks what a client sends and fails on request.
#pragma once

#include "service/http/Listener.h"
#include "service/objects/Bucket.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kelvo::test {

/** How the gateway treats one request. */
enum class EFault : std::uint8_t {
    None,
    Busy,         // 503, nothing is done
    DoneButCut,   // the request is done, but the connection ends without an answer
    DoneButBusy,  // the request is done, the answer is 500
    Silent,       // no answer until the client gives up
    OtherBytes,   // the right number of wrong bytes
    WholeObject,  // 200 and the whole object instead of a range
    RefusedClock, // 403 RequestTimeTooSkewed
};

/**
 * A simulated object store, which keeps its objects in memory. It runs on a separate thread.
 * Refuses a request whose signature or SHA-256 is wrong. It takes only the requests that a bucket
 * sends. All functions may be called on any thread.
 */
class ObjectGateway final : private http::Application
{
public:
    explicit ObjectGateway(http::Listener::TlsContexts tls = {});
    ~ObjectGateway() override;

    objects::BucketAddress address() const;
    static objects::Credentials credentials() { return {"the access key", "the secret key"}; }

    /** Treats the next requests like this, then all further requests without faults. */
    void failNext(const std::vector<EFault>& faults);

    std::map<std::string, std::string> objects() const;
    void replace(const std::string& key, const std::string& bytes);
    std::vector<std::string>
    requests() const;                // "PUT key", without the faulty ones that did nothing
    int attempts() const;            // all requests
    std::string lastDate() const;    // the x-amz-date of the latest request
    std::size_t connections() const; // open now

private:
    Async<http::Response> handle(http::Request& request) override;
    void requestBegun() override {}
    void requestDone(const http::RequestSummary&) override {}

    http::Response act(const http::Request& request, const std::string& body, EFault fault);
    http::Response get(const http::Request& request, const std::string& bytes, EFault fault) const;

    mutable std::mutex mutex_; // guards the next members
    std::map<std::string, std::string> objects_;
    std::deque<EFault> faults_;
    std::vector<std::string> requests_;
    int attempts_ = 0;
    std::string lastDate_;

    bool isTls_;
    http::Limits limits_;
    asio::io_context io_{1};
    asio::executor_work_guard<asio::io_context::executor_type> guard_{io_.get_executor()};
    asio::steady_timer silence_{io_, asio::steady_timer::time_point::max()};
    std::optional<http::Listener> listener_;
    std::thread thread_;
};

} // namespace kelvo::test
