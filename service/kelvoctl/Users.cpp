#include "service/kelvoctl/Users.h"

#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"

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

} // namespace

std::string userPath(CommandContext& context, const std::string& name)
{
    for (const json& user : allPages(context.client(), "/users", "users")) {
        if (user.at("name") == name) {
            return "/users/" + user.at("id").dump();
        }
    }
    throw Refused(0, "Not found", "No user has the name " + printable(name) + ".");
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
