#include "service/kelvoctl/Users.h"

#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"

#include <optional>

namespace kelvoctl {

using nlohmann::json;

namespace {

// The target of `<PATH>; rel="next"`. Empty on the last page.
std::string nextPage(const Response& response)
{
    const std::string link = response.header("link");
    const std::size_t end = link.find(">; rel=\"next\"");
    return end == std::string::npos ? "" : link.substr(1, end - 1);
}

// The path of the item with this name in /users or /farms.
std::optional<std::string> findByName(CommandContext& context, const char* list,
                                      const std::string& name)
{
    const std::string path = std::string("/") + list;
    for (const json& item : allPages(context.client(), path, list)) {
        if (item.at("name") == name) {
            return path + "/" + item.at("id").dump();
        }
    }
    return std::nullopt;
}

} // namespace

std::string userPath(CommandContext& context, const std::string& name)
{
    if (const auto path = findByName(context, "users", name)) {
        return *path;
    }
    throw Refused(0, "Not found", "No user has the name " + printable(name) + ".");
}

std::string farmPath(CommandContext& context, const std::string& name)
{
    if (const auto path = findByName(context, "farms", name)) {
        return *path;
    }
    throw Refused(0, "Not found", "No farm has the name " + printable(name) + ".");
}

json allPages(ApiClient& client, const std::string& path, const char* items)
{
    json all = json::array();
    Request request;
    request.method = "GET";
    for (request.path = path; !request.path.empty();) {
        const Response page = client.expect(request);
        json document = page.json();
        for (json& item : document.at(items)) {
            all.push_back(std::move(item));
        }
        request.path = nextPage(page);
    }
    return all;
}

} // namespace kelvoctl
