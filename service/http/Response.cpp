#include "service/http/Response.h"

#include <boost/beast/http/status.hpp>
#include <nlohmann/json.hpp>

namespace kelvo::http {

Response Response::json(const nlohmann::ordered_json& document, unsigned status)
{
    Response response;
    response.status = status;
    response.body = document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    response.headers.emplace_back("Content-Type", "application/json");
    response.headers.emplace_back("Cache-Control", "no-store");
    return response;
}

Response Response::text(std::string body, std::string contentType)
{
    Response response;
    response.body = std::move(body);
    response.headers.emplace_back("Content-Type", std::move(contentType));
    return response;
}

Response Response::noContent()
{
    Response response;
    response.status = 204;
    return response;
}

Response& Response::with(std::string name, std::string value)
{
    headers.emplace_back(std::move(name), std::move(value));
    return *this;
}

std::string_view reasonPhrase(unsigned status)
{
    switch (status) {
    case 460:
        return "Checksum Mismatch";
    case 431:
        return "Request Header Fields Too Large";
    default: {
        const auto text =
            boost::beast::http::obsolete_reason(boost::beast::http::int_to_status(status));
        return {text.data(), text.size()};
    }
    }
}

} // namespace kelvo::http
