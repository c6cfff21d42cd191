// Where a bucket is, and the credentials for it.
#pragma once

#include "service/objects/Signature.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace kelvo::objects {

struct BucketAddress
{
    std::string endpoint; // "https://HOST[:PORT]"; "http://..." on this machine only
    std::string bucket;
    std::string region = "us-east-1"; // a store without regions takes any name
    std::string caFile;               // PEM; empty: the system's authorities

    /**
     * Reads "s3://BUCKET?endpoint=https://HOST[:PORT]", with `&region=` and `&ca=FILE` if needed.
     * Throws std::invalid_argument.
     */
    static BucketAddress parse(std::string_view text);
};

/** "HOST[:PORT]" of an endpoint. Throws std::invalid_argument if the endpoint cannot be used. */
std::string hostOf(std::string_view endpoint);

/**
 * The credentials in the file that the variable KELVO_S3_CREDENTIALS names, otherwise in the
 * variables AWS_ACCESS_KEY_ID and AWS_SECRET_ACCESS_KEY. Throws std::runtime_error if they are
 * missing. Reads the environment: call it before threads start.
 */
Credentials findCredentials();

/**
 * The first line of the file is the access key, the second line the secret key. Throws
 * std::runtime_error if users other than its owner may read the file; std::system_error.
 */
Credentials readCredentials(const std::filesystem::path& file);

} // namespace kelvo::objects
