// A request that sends nothing.
#pragma once

#include "service/http/Request.h"
#include "tests/service/support/TcpPair.h"

#include <string>

namespace kelvo::test {

struct IdleRequest
{
    explicit IdleRequest(asio::io_context& io) : pair(io) {}

    TcpPair pair;
    const http::Limits limits;
    const http::RequestHead head;
    std::string early;
    http::BodyReader body{*pair.server, limits, head, early};
    http::Request request{head, body, limits, "127.0.0.1"};
};

} // namespace kelvo::test
