// One connection to the service that is kept between requests.
#pragma once

#include "tools/herd/Http.h"
#include "tools/herd/Network.h"
#include "tools/herd/Stream.h"

#include <string>

namespace herd {

/** One request at a time. */
class Link
{
public:
    /** If there are too many connections, a link that yields closes its own after each answer. */
    Link(Network& network, bool yields);
    ~Link();
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    /**
     * Sends the request and reads the whole answer. An event stream ends with its connection. Uses
     * the kept connection. If the service has closed the kept connection meanwhile, uses a new one.
     * Throws LinkError; then the service may have carried the request out.
     */
    Async<Answer> exchange(const Server& server, const Request& request, const std::string& token);

    /** Ends the connection. A running request fails for this reason. */
    void abort(const char* reason);

    /** Aborts if the limit of the running operation is over. */
    void expire(Clock::time_point now);

private:
    Async<Answer> attempt(const Server& server, const Request& request, const std::string& token);
    Async<void> connect(const Server& server);
    Async<void> send(const Server& server, const Request& request, const std::string& token);
    Async<void> sendPart(const Request& request);
    Async<Answer> receive(const Request& request);
    void close();
    void limit(std::chrono::seconds time) { deadline_ = Clock::now() + time; }

    Network& network_;
    bool yields_;
    bool isCounted_ = false; // in the network's connections
    Stream stream_;
    const Server* server_ = nullptr; // to which the connection is
    const char* abortReason_ = nullptr;
    bool hasAnswer_ = false; // the first bytes of the answer have come
    Clock::time_point deadline_ = Clock::time_point::max();
};

} // namespace herd
