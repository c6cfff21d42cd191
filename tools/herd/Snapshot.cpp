#include "tools/herd/Snapshot.h"

#include <nlohmann/json.hpp>

namespace herd {

namespace {

using nlohmann::json;

void takeInbox(const json& inbox, const std::string& project, Snapshot& snapshot)
{
    const auto id = inbox.at("id").get<std::int32_t>();
    snapshot.inboxes.push_back({id, project, inbox.at("owner").at("name").get<std::string>()});
    const auto entries = inbox.find("entries");
    if (entries == inbox.end()) {
        return;
    }
    for (const json& file : *entries) {
        snapshot.files.push_back({file.at("id").get<std::int32_t>(), id,
                                  file.at("name").get<std::string>(),
                                  file.at("sha256").get<std::string>()});
    }
}

} // namespace

Snapshot parseSnapshot(std::string_view text)
{
    const json account = json::parse(text);
    Snapshot snapshot;
    snapshot.cursor = account.at("cursor").get<std::string>();
    for (const json& project : account.at("projects")) {
        for (const json& inbox : project.at("resources")) {
            takeInbox(inbox, project.at("name").get<std::string>(), snapshot);
        }
    }
    return snapshot;
}

} // namespace herd
