// Serves the office's page beside the API.
#pragma once

#include "service/http/Connection.h"
#include "service/web/WebFiles.h"

namespace kelvo::web {

/**
 * Passes the API's requests on and answers all other requests with a file of the page, or 404.
 * Thread: any I/O thread. Ownership: `api` outlives it.
 */
class WebApplication final : public http::Application
{
public:
    /** `imageOrigin`: the page may load images from there too; empty: only from the service. */
    WebApplication(http::Application& api, WebFiles files, const std::string& imageOrigin = {});

    Async<http::Response> handle(http::Request& request) override;
    void requestBegun() override { api_.requestBegun(); }
    void requestDone(const http::RequestSummary& summary) override { api_.requestDone(summary); }

private:
    http::Response file(http::Request& request) const;
    void addSecurityHeaders(http::Response& response) const;

    http::Application& api_;
    WebFiles files_;
    const std::string contentPolicy_;
};

} // namespace kelvo::web
