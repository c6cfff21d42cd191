// One request, as its handler sees it.
#pragma once

#include "service/http/BodyReader.h"
#include "service/http/RequestHead.h"

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kelvo::http {

/** Lives on its connection's thread until the answer is sent. */
struct Request
{
    RequestHead head;
    BodyReader& body;
    const Limits& limits;
    std::string peerAddress;

    // Set by the router:
    std::string_view route = "unmatched"; // the template, for log and metrics
    std::map<std::string, std::string, std::less<>> parameters = {};

    // Set when the caller is known:
    std::string session = {}; // the digest of the token; never logged
    long long farm = 0;       // for the log only, as the user
    long long user = 0;

    std::string_view header(std::string_view name) const { return head.header(name); }

    /** A parameter of the route's template, decoded. */
    const std::string& parameter(std::string_view name) const;

    /** The {id} of the route. Throws Problem (not-found) if the text cannot be an id. */
    long long id() const;

    /** A value of the query, decoded. */
    std::optional<std::string> queryValue(std::string_view name) const;

    /**
     * Reads the body as a JSON object. Throws Problem (malformed, too large, wrong type) or
     * PeerGone.
     */
    Async<nlohmann::json> json();
};

} // namespace kelvo::http
