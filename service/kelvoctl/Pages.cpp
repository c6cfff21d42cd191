#include "service/kelvoctl/Pages.h"

#include <iostream>

namespace kelvoctl {

using nlohmann::json;

namespace {

constexpr const char* kPageSize = "limit=1000"; // the largest page

// The target of `<PATH>; rel="next"`. Empty on the last page.
std::string nextPage(const Response& response)
{
    const std::string link = response.header("link");
    const std::size_t end = link.find(">; rel=\"next\"");
    return end == std::string::npos ? "" : link.substr(1, end - 1);
}

} // namespace

void eachItem(ApiClient& client, const std::string& path, const char* items,
              const std::function<void(const json& item)>& visit)
{
    Request request;
    request.method = "GET";
    request.path = path + (path.find('?') == std::string::npos ? "?" : "&") + kPageSize;
    while (!request.path.empty()) {
        const Response page = client.expect(request);
        const json document = page.json();
        for (const json& item : document.at(items)) {
            visit(item);
        }
        request.path = nextPage(page);
    }
}

json allItems(ApiClient& client, const std::string& path, const char* items)
{
    json all = json::array();
    eachItem(client, path, items, [&all](const json& item) { all.push_back(item); });
    return all;
}

void printItems(CommandContext& context, const std::string& path, const char* items,
                const std::function<void(const json& item)>& print)
{
    if (!context.json) {
        eachItem(context.client(), path, items, print);
        return;
    }
    std::string before = "[";
    eachItem(context.client(), path, items, [&before](const json& item) {
        std::cout << before << oneLine(item);
        before = ",";
    });
    std::cout << (before == "[" ? "[]" : "]") << std::endl;
}

} // namespace kelvoctl
