#include "service/objects/BucketAddress.h"

#include "service/base/Encoding.h"
#include "service/base/FileStatus.h"
#include "service/base/Files.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

namespace kelvo::objects {

namespace {

constexpr std::string_view scheme = "s3://";

[[noreturn]] void throwUnusable()
{
    throw std::invalid_argument("not an address of the form s3://BUCKET?endpoint=https://HOST");
}

bool isThisMachine(std::string_view host)
{
    const std::size_t colon = host.rfind(':');
    const std::size_t bracket = host.rfind(']'); // the end of an IPv6 address
    if (colon != host.npos && (bracket == host.npos || colon > bracket)) {
        host = host.substr(0, colon);
    }
    return host == "127.0.0.1" || host == "[::1]" || host == "localhost";
}

/** A bucket's name is part of a path, and of a host name on some stores. */
bool isBucketName(std::string_view name)
{
    const auto isUsable = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
    };
    return name.size() >= 3 && name.size() <= 63 && name.front() != '.' &&
           std::all_of(name.begin(), name.end(), isUsable);
}

void setField(BucketAddress& address, std::string_view name, std::string value)
{
    if (name == "endpoint") {
        hostOf(value);
        address.endpoint = std::move(value);
    } else if (name == "region") {
        address.region = std::move(value);
    } else if (name == "ca") {
        address.caFile = std::move(value);
    } else {
        throwUnusable();
    }
}

} // namespace

BucketAddress BucketAddress::parse(std::string_view text)
{
    const std::size_t mark = text.find('?');
    if (!text.starts_with(scheme) || mark == std::string_view::npos) {
        throwUnusable();
    }
    BucketAddress address;
    address.bucket = text.substr(scheme.size(), mark - scheme.size());
    for (std::size_t start = mark + 1; start <= text.size();) {
        const std::size_t end = std::min(text.find('&', start), text.size());
        const std::string_view field = text.substr(start, end - start);
        const std::size_t equals = std::min(field.find('='), field.size());
        const auto value = percentDecode(field.substr(std::min(equals + 1, field.size())));
        if (!value || value->empty()) {
            throwUnusable();
        }
        setField(address, field.substr(0, equals), *value);
        start = end + 1;
    }
    if (!isBucketName(address.bucket) || address.endpoint.empty()) {
        throwUnusable();
    }
    return address;
}

std::string hostOf(std::string_view endpoint)
{
    const std::size_t start = std::min(endpoint.find("://"), endpoint.size());
    const std::string_view name = endpoint.substr(0, start);
    const std::string_view host = endpoint.substr(std::min(start + 3, endpoint.size()));
    const bool isPlainHost = !host.empty() && host.find_first_of("/?#@ ") == host.npos;
    const bool isSafe = name == "https" || (name == "http" && isThisMachine(host));
    if (!isPlainHost || !isSafe) {
        throw std::invalid_argument("the endpoint of an object store must be https://HOST[:PORT]");
    }
    return std::string(host);
}

Credentials findCredentials()
{
    const auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value == nullptr ? "" : value);
    };
    if (const std::string file = variable("KELVO_S3_CREDENTIALS"); !file.empty()) {
        return readCredentials(file);
    }
    Credentials found{variable("AWS_ACCESS_KEY_ID"), variable("AWS_SECRET_ACCESS_KEY")};
    if (found.accessKey.empty() || found.secretKey.empty()) {
        throw std::runtime_error("the credentials of the object store are missing: set"
                                 " KELVO_S3_CREDENTIALS to a file that holds them");
    }
    return found;
}

Credentials readCredentials(const std::filesystem::path& file)
{
    const auto status = statusOf(file);
    if (status && (status->mode & (S_IRGRP | S_IROTH)) != 0) {
        throw std::runtime_error("other users may read the file of credentials: set its mode 0600");
    }
    const std::string text = readFile(file);
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view rest = std::string_view(text).substr(std::min(end + 1, text.size()));
    Credentials found{std::string(trimmed(std::string_view(text).substr(0, end))),
                      std::string(trimmed(rest.substr(0, rest.find('\n'))))};
    if (found.accessKey.empty() || found.secretKey.empty()) {
        throw std::runtime_error(
            "the file of credentials must have the access key and the secret key on two lines");
    }
    return found;
}

} // namespace kelvo::objects
