#include "service/kelvoctl/Users.h"

#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"
#include "service/kelvoctl/Pages.h"

#include <optional>

namespace kelvoctl {

using nlohmann::json;

namespace {

// The path of the item with this name in /users or /farms.
std::optional<std::string> findByName(CommandContext& context, const char* list,
                                      const std::string& name)
{
    const std::string path = std::string("/") + list;
    std::optional<std::string> found;
    eachItem(context.client(), path + "?name=" + percentEncoded(name), list, [&](const json& item) {
        if (item.at("name") == name) { // /farms and older services do not filter
            found = path + "/" + item.at("id").dump();
        }
    });
    return found;
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

} // namespace kelvoctl
