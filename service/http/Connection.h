// One client connection: reads requests, calls the application, writes the answers.
#pragma once

#include "service/http/Limits.h"
#include "service/http/PeerCounts.h"
#include "service/http/Problem.h"
#include "service/http/Request.h"
#include "service/http/Response.h"
#include "service/http/Transport.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kelvo::http {

/** The outcome of a request, for log and metrics. */
struct RequestSummary
{
    std::string_view method;
    std::string_view route;
    unsigned status = 0;
    std::uint64_t receivedBytes = 0; // of the body
    std::uint64_t sentBytes = 0;
    std::int64_t durationMs = 0;
    long long farm = 0;
    long long user = 0;
};

/** The application behind the HTTP layer. Called on any I/O thread. */
class Application
{
public:
    virtual ~Application() = default;

    /**
     * Throws Problem to refuse the request, PeerGone if the peer left. Other exceptions become
     * "internal".
     */
    virtual Async<Response> handle(Request& request) = 0;

    /** A request has arrived; requestDone() reports its end. */
    virtual void requestBegun() = 0;

    virtual void requestDone(const RequestSummary& summary) = 0;
};

/**
 * Serves one peer until the peer leaves or breaks the protocol, or the service stops. Thread: one
 * I/O thread. Ownership: the listener's coroutine that accepted it; `application` and `limits`
 * outlive it.
 */
class Connection
{
public:
    /** `peers` outlives the connection; null: the connection is not counted. */
    Connection(std::unique_ptr<Transport> transport, Application& application, const Limits& limits,
               PeerCounts* peers = nullptr);

    /** `refuse`: the service is full; answer the first request with "busy" and close. */
    Async<void> run(bool refuse);

    /**
     * Ends at once if the connection is idle, streaming or in the TLS handshake. Otherwise ends
     * after the current answer, as long as the peer reads it.
     */
    void stop();

    /** Ends after the next answer. Then the peer connects again, to another instance. */
    void retire() { retired_ = true; }

    /** Ends at once in any state. */
    void abort() { transport_->abort(); }

private:
    enum class EState : std::uint8_t { Idle, Busy, Sending, Streaming };

    Async<bool> open(bool& refuse);
    bool count(bool& refuse);
    Async<bool> serveOne(bool refuse);
    Async<std::optional<RequestHead>> readHead();
    Async<void> refuseHead(EHeadState state);
    Async<Response> handle(Request& request, bool refuse);
    Async<bool> answer(Request& request, Response& response);
    bool mayStayOpen(const Request& request, const Response& response);
    Async<void> stream(Response& response);
    Async<bool> sendBody(BodySource& source);
    void expectProgress();
    Async<bool> drainBody(BodyReader& body);
    Async<void> linger();

    std::unique_ptr<Transport> transport_;
    Application& application_;
    const Limits& limits_;
    PeerCounts* peers_;
    std::optional<PeerCounts::Ticket> ticket_; // none without peers_
    std::string received_;                     // received bytes that are not used yet
    EState state_ = EState::Idle;
    bool stopping_ = false;
    bool retired_ = false;
    bool isTrustedProxy_ = false;
    bool peerMayBeSending_ = false; // a refused body: read on for a while before closing
};

} // namespace kelvo::http
