// Tells the link board the outcome of each request.
#pragma once

#include "base/LinkBoard.h"
#include "http/HttpTransport.h"

namespace kesdk::impl {

// Passes requests on to another transport. Bytes of the service's answer and bytes that the network
// takes are contacts at once, before the request ends.
class WatchedTransport : public HttpTransport
{
public:
    // Both are the caller's and outlive this object.
    WatchedTransport(HttpTransport& transport, LinkBoard& board)
        : m_transport(transport), m_board(board)
    {}

    HttpOutcome Perform(const HttpRequest& request, const AbortCheck& abort) override;
    void Wake() override { m_transport.Wake(); }

private:
    HttpTransport& m_transport;
    LinkBoard& m_board;
};

} // namespace kesdk::impl
