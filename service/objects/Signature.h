// Signature version 4 of the requests to an S3 object store.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace kelvo::objects {

/** The key pair of an account of the object store. The secret key is never sent or logged. */
struct Credentials
{
    std::string accessKey;
    std::string secretKey;
};

/** The parts of a request that its signature covers. */
struct RequestToSign
{
    std::string method;
    std::string path;  // percent-encoded, begins with '/'
    std::string query; // percent-encoded; sorted by name, each name with '='
    std::map<std::string, std::string> headers; // all are signed; the names are in lower case
};

/** The value of x-amz-date: "20130524T000000Z". */
std::string amzDate(std::int64_t epochMs);

/**
 * The value of the header Authorization. `request.headers` must contain host, x-amz-date and
 * x-amz-content-sha256; otherwise throws std::out_of_range. The object store refuses a signature
 * that is more than 15 minutes old.
 */
std::string authorizationOf(const RequestToSign& request, const Credentials& credentials,
                            const std::string& region);

} // namespace kelvo::objects
