// The transport over libcurl.
#pragma once

#include "http/ConsoleFacts.h"
#include "http/HttpTransport.h"
#include "http/OpenSockets.h"
#include "http/ServiceTime.h"
#include "http/TrustStore.h"

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>

namespace kesdk::impl {

// HTTP/1.1 over one kept TLS connection. Always verifies peer and host name. Follows no redirects.
class CurlTransport : public HttpTransport
{
public:
    // `baseUrl` without a slash at its end. Lines to the same service share a `serviceTime`;
    // without it the line has its own.
    CurlTransport(std::string baseUrl, std::shared_ptr<const TrustStore> trust,
                  ConsoleFacts console = RealConsoleFacts(),
                  std::shared_ptr<ServiceTime> serviceTime = nullptr);
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
    const ConsoleFacts m_console;
    const std::shared_ptr<ServiceTime> m_serviceTime;
    std::chrono::milliseconds m_asleepAtLast;
    OpenSockets m_sockets;
    std::unique_ptr<CURLM, FreeMulti> m_multi;
    std::unique_ptr<CURL, FreeEasy> m_easy;
};

} // namespace kesdk::impl
