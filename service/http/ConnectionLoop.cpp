// The life of a connection from handshake to close.
#include "service/http/Connection.h"

#include "service/base/Log.h"
#include "service/http/ForwardedAddress.h"
#include "service/http/Problem.h"

#include <chrono>

namespace kelvo::http {

namespace {

using Steady = std::chrono::steady_clock;

std::int64_t msSince(Steady::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Steady::now() - start).count();
}

} // namespace

Async<void> Connection::run(bool refuse)
{
    const bool isOpen = co_await open(refuse);
    if (!isOpen) {
        transport_->abort();
        co_return;
    }
    // GCC 12 compiles an await inside the condition to a trap.
    for (bool more = true; more && !stopping_;) {
        more = co_await serveOne(refuse);
    }
    peerMayBeSending_ = peerMayBeSending_ || !received_.empty();
    transport_->expireAfterSent(peerMayBeSending_ ? limits_.lingerTime : limits_.closeTime);
    co_await transport_->shutdownSend();
    if ((peerMayBeSending_ || !refuse) && !stopping_) {
        co_await linger();
    }
    transport_->abort();
}

/**
 * Counts the connection for its present address. `refuse` is set if the address has too many
 * connections. False: close the connection.
 */
bool Connection::count(bool& refuse)
{
    if (peers_ == nullptr) {
        return true;
    }
    const std::string& address = transport_->peerAddress();
    ticket_.emplace(*peers_, address, limits_.trustedProxies.contains(address));
    if (!refuse && ticket_->isOverLimit()) {
        refuse = true;
        peers_->countRefused();
    }
    return ticket_->beginHead();
}

/** Reads the proxy's header and makes the handshake. `refuse` as for count(). */
Async<bool> Connection::open(bool& refuse)
{
    transport_->expireAfter(limits_.headTime);
    isTrustedProxy_ = limits_.trustedProxies.contains(transport_->peerAddress());
    if (!count(refuse)) {
        co_return false;
    }
    if (limits_.proxyProtocol && isTrustedProxy_) {
        const auto failed = co_await transport_->readProxyHeader();
        if (failed || !count(refuse)) {
            co_return false;
        }
    }
    const auto failed = co_await transport_->handshake(limits_.handshakeTime);
    co_return !failed;
}

Async<bool> Connection::serveOne(bool refuse)
{
    auto head = co_await readHead();
    if (!head) {
        co_return false;
    }
    application_.requestBegun();
    transport_->neverExpire();
    const auto start = Steady::now();
    const std::uint64_t sentBefore = transport_->sentBytes();

    BodyReader body(*transport_, limits_, *head, received_);
    std::string client = clientAddress(*head, transport_->peerAddress(), limits_.trustedProxies);
    Request request{std::move(*head), body, limits_, std::move(client)};
    RequestSummary summary;
    bool more = false;
    try {
        Response response = co_await handle(request, refuse);
        summary.status = response.status;
        more = co_await answer(request, response);
    } catch (const PeerGone&) {
        // This status is not sent. It tells in log and metrics that the peer was too slow or left.
        summary.status = transport_->expired() ? 408 : 499;
    } catch (const std::exception& error) { // during an answer: too late to tell the peer
        logError("connection-failed", error.what());
        transport_->abort();
    }
    summary.method = request.head.method;
    summary.route = request.route;
    summary.receivedBytes = body.receivedBytes();
    summary.sentBytes = transport_->sentBytes() - sentBefore;
    summary.durationMs = msSince(start);
    summary.farm = request.farm;
    summary.user = request.user;
    application_.requestDone(summary);
    co_return more;
}

Async<Response> Connection::handle(Request& request, bool refuse)
{
    try {
        if (refuse) {
            throw Problem(EProblem::Busy, "Too many connections.", {{"Retry-After", "5"}});
        }
        co_return co_await application_.handle(request);
    } catch (const Problem& problem) {
        Response response = problem.toResponse();
        response.closeAfter = refuse;
        co_return response;
    } catch (const PeerGone&) {
        throw;
    } catch (const std::exception& error) {
        logError("request-failed", error.what());
        co_return Problem(EProblem::Internal).toResponse();
    }
}

void Connection::stop()
{
    stopping_ = true;
    if (state_ == EState::Sending) {
        expectProgress();
    } else if (state_ != EState::Busy) {
        transport_->stopWaiting();
    }
}

} // namespace kelvo::http
