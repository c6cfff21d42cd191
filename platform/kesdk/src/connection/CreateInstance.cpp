// The library's one entry point.
#include "base/Catalogue.h"
#include "base/SystemClock.h"
#include "connection/Connection.h"
#include "http/CurlTransport.h"

#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace kesdk::impl {

namespace {

struct FreeUrl
{
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, FreeUrl>;

// Empty if the URL has no such part.
std::optional<std::string> Get(const Url& url, CURLUPart part)
{
    char* text = nullptr;
    std::optional<std::string> value;
    if (curl_url_get(url.get(), part, &text, 0) == CURLUE_OK)
        value = text;
    curl_free(text);
    return value;
}

// The URL without slashes at its end; empty if it is not a valid URL of the API.
std::optional<std::string> ToBaseUrl(const char* text)
{
    const Url url(curl_url());
    if (!text || !url || curl_url_set(url.get(), CURLUPART_URL, text, 0) != CURLUE_OK)
        return std::nullopt;
    if (Get(url, CURLUPART_SCHEME) != "https" || Get(url, CURLUPART_USER) ||
        Get(url, CURLUPART_PASSWORD) || Get(url, CURLUPART_QUERY) || Get(url, CURLUPART_FRAGMENT))
        return std::nullopt;
    std::string base = Get(url, CURLUPART_URL).value_or(std::string());
    while (!base.empty() && base.back() == '/')
        base.pop_back();
    return base;
}

ApiLine::Dependencies MakeLine(const std::string& baseUrl,
                               const std::shared_ptr<const TrustStore>& trust,
                               const std::shared_ptr<ServiceTime>& serviceTime)
{
    return {std::make_unique<CurlTransport>(baseUrl, trust, RealConsoleFacts(), serviceTime),
            std::make_unique<SystemTiming>()};
}

std::string FromEnvironment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

// KESDK_STATE_FOLDER, or else `kesdk` in XDG_STATE_HOME. Empty if neither is set.
std::string JournalFolder()
{
    std::string given = FromEnvironment("KESDK_STATE_FOLDER");
    const std::string shared = FromEnvironment("XDG_STATE_HOME");
    if (!given.empty() || shared.empty() || shared.front() != '/')
        return given;
    return shared + "/kesdk";
}

} // namespace

} // namespace kesdk::impl

namespace kesdk::api {

bool CreateKESDKInstance(IEnterpriseConnection** out, const char* url)
{
    using namespace kesdk::impl;
    if (!out)
        return false;
    *out = nullptr;
    const std::optional<std::string> baseUrl = ToBaseUrl(url);
    if (!baseUrl)
        return false;
    try {
        UseCatalogues(FolderOfCatalogues());
        const auto trust = std::make_shared<const TrustStore>(FromEnvironment("KESDK_CA_FILE"));
        const auto time = std::make_shared<ServiceTime>(RealConsoleFacts());
        const auto board = std::make_shared<LinkBoard>([time] { return time->IsConsoleOff(); });
        const auto line = [&] { return MakeLine(*baseUrl, trust, time); };
        *out = new Connection({line(), line(), line()},
                              {*baseUrl, JournalFolder(), board, RealConsoleFacts(),
                               [time] { return time->ConfirmedWallTimeS(); }});
        LinkBoard::Publish(board);
    } catch (const std::exception&) { // no memory, or no thread
        return false;
    }
    return true;
}

} // namespace kesdk::api
