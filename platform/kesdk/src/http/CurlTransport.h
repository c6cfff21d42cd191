// The transport over libcurl.
#pragma once

#include "http/HttpTransport.h"
#include "http/TrustStore.h"

#include <curl/curl.h>

#include <memory>
#include <string>

namespace kesdk::impl {

// HTTP/1.1 over one kept-alive TLS connection, peer and host name always verified, no redirects.
class CurlTransport : public HttpTransport
{
public:
    // `baseUrl` without a slash at its end.
    CurlTransport(std::string baseUrl, std::shared_ptr<const TrustStore> trust);
    ~CurlTransport() override;
    CurlTransport(const CurlTransport&) = delete;
    CurlTransport& operator=(const CurlTransport&) = delete;

    HttpOutcome Perform(const HttpRequest& request, const AbortCheck& abort) override;
    void Wake() override;

private:
    struct FreeEasy
    {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    };
    struct FreeMulti
    {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };

    void SetCommonOptions(const HttpRequest& request);

    const std::string m_baseUrl;
    const std::shared_ptr<const TrustStore> m_trust;
    std::unique_ptr<CURLM, FreeMulti> m_multi;
    std::unique_ptr<CURL, FreeEasy> m_easy;
};

} // namespace kesdk::impl
