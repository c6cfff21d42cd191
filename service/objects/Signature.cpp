#include "service/objects/Signature.h"

#include "service/base/Digest.h"
#include "service/base/Encoding.h"
#include "service/base/Time.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <array>
#include <span>
#include <stdexcept>
#include <string_view>

namespace kelvo::objects {

namespace {

constexpr const char* algorithm = "AWS4-HMAC-SHA256";
constexpr const char* scopeEnd = "/s3/aws4_request";
constexpr std::size_t dayDigits = 8; // of "20130524T000000Z"

using Mac = std::array<unsigned char, 32>;

Mac hmac(std::string_view key, std::string_view text)
{
    Mac mac{};
    unsigned int size = 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    if (HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytes, text.size(), mac.data(),
             &size) == nullptr ||
        size != mac.size()) {
        throw std::runtime_error("HMAC-SHA-256 failed");
    }
    return mac;
}

std::string_view asText(const Mac& mac)
{
    return {reinterpret_cast<const char*>(mac.data()), mac.size()};
}

/** The signing key is bound to the day, the region and the service. */
Mac signingKey(const std::string& secret, std::string_view day, const std::string& region)
{
    const Mac ofDay = hmac("AWS4" + secret, day);
    const Mac ofRegion = hmac(asText(ofDay), region);
    const Mac ofService = hmac(asText(ofRegion), "s3");
    return hmac(asText(ofService), "aws4_request");
}

std::string namesOf(const std::map<std::string, std::string>& headers)
{
    std::string names;
    for (const auto& [name, value] : headers) {
        names += (names.empty() ? "" : ";") + name;
    }
    return names;
}

std::string canonicalForm(const RequestToSign& request)
{
    std::string text = request.method + '\n' + request.path + '\n' + request.query + '\n';
    for (const auto& [name, value] : request.headers) {
        text += name + ':' + std::string(trimmed(value)) + '\n';
    }
    return text + '\n' + namesOf(request.headers) + '\n' +
           request.headers.at("x-amz-content-sha256");
}

} // namespace

std::string amzDate(std::int64_t epochMs)
{
    std::string text = rfc3339(epochMs); // "2013-05-24T00:00:00.000Z"
    text = text.substr(0, text.find('.')) + 'Z';
    std::erase_if(text, [](char c) { return c == '-' || c == ':'; });
    return text;
}

std::string authorizationOf(const RequestToSign& request, const Credentials& credentials,
                            const std::string& region)
{
    const std::string& date = request.headers.at("x-amz-date");
    const std::string day = date.substr(0, dayDigits);
    const std::string scope = day + '/' + region + scopeEnd;
    std::string toSign(algorithm);
    toSign.append("\n" + date + "\n" + scope + "\n" + sha256Hex(canonicalForm(request)));
    const Mac key = signingKey(credentials.secretKey, day, region);
    std::string value(algorithm);
    value.append(" Credential=" + credentials.accessKey + "/" + scope);
    value.append(",SignedHeaders=" + namesOf(request.headers));
    value.append(",Signature=" + toHex(hmac(asText(key), toSign)));
    return value;
}

} // namespace kelvo::objects
