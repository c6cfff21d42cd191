#include "tools/herd/Accounts.h"

#include "tools/herd/ForEach.h"

#include <nlohmann/json.hpp>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <vector>

namespace herd {

namespace {

using nlohmann::json;

constexpr std::size_t workers = 8;
constexpr int conflict = 409;

/** All items of a list that comes in pages. */
Async<std::vector<json>> fetchAll(Line& line, std::string target, const char* member)
{
    static const std::regex next("<([^>]+)>; rel=\"next\"");
    std::vector<json> items;
    while (!target.empty()) {
        const Answer page =
            co_await line.call(EKind::Account, requestTo("GET", target), Clock::now());
        json document = json::parse(page.body);
        for (json& item : document.at(member)) {
            items.push_back(std::move(item));
        }
        std::smatch match;
        target = std::regex_search(page.link, match, next) ? match[1].str() : std::string();
    }
    co_return items;
}

/** Makes a farm or a user. An earlier attempt, or another herd, may have made it. */
Async<void> make(Line& line, const char* path, json body)
{
    Request request = requestTo("POST", apiPath + path);
    request.json = body.dump();
    const Clock::time_point begin = Clock::now();
    Backoff backoff;
    for (;;) {
        const Answer answer = co_await line.attempt(EKind::Account, request);
        if (answer.isSuccess() || answer.status == conflict) {
            line.network().figures.succeed(EKind::Account, line.onlineSince(begin));
            co_return;
        }
        if (!mayPass(answer)) {
            throw Fatal("The service refuses to make an account: " + answer.body);
        }
        co_await line.pause(backoff, answer);
    }
}

Async<void> makeFarm(Line& line, std::uint32_t farm, std::uint32_t operators, bool isNew,
                     const std::string& adminPassword)
{
    const std::string name = farmName(farm);
    std::set<std::string> known;
    if (isNew) {
        json body = {{"name", name}};
        co_await make(line, "/farms", std::move(body));
    } else {
        const std::string target = apiPath + "/users?limit=1000&farm=" + name;
        for (const json& user : co_await fetchAll(line, target, "users")) {
            known.insert(user.at("name").get<std::string>());
        }
    }
    for (std::uint32_t seat = 0; seat <= operators; ++seat) {
        const std::string user = seat == 0 ? officeName(farm) : operatorName(farm, seat);
        if (!known.contains(user)) {
            json body = {{"farm", name},
                         {"name", user},
                         {"password", identityOf(user, adminPassword).password},
                         {"role", seat == 0 ? "office" : "operator"},
                         {"inboxes", seat != 0}};
            co_await make(line, "/users", std::move(body));
        }
    }
}

/** The ids of the herd's farms by their names. Farms of others never match. */
Async<std::map<std::string, std::int32_t>> fetchFarms(Line& line)
{
    static const std::regex own("kelvo-herd-[0-9]{4}");
    std::map<std::string, std::int32_t> farms;
    for (const json& farm : co_await fetchAll(line, apiPath + "/farms?limit=1000", "farms")) {
        const auto name = farm.at("name").get<std::string>();
        if (std::regex_match(name, own)) {
            farms[name] = farm.at("id").get<std::int32_t>();
        }
    }
    co_return farms;
}

std::vector<std::unique_ptr<Line>> makeLines(Network& network, Identity& admin)
{
    std::vector<std::unique_ptr<Line>> lines;
    for (std::size_t i = 0; i < workers; ++i) {
        lines.push_back(std::make_unique<Line>(network, admin, i));
    }
    return lines;
}

} // namespace

std::string farmName(std::uint32_t farm)
{
    char text[32];
    std::snprintf(text, sizeof text, "kelvo-herd-%04u", farm);
    return text;
}

std::string officeName(std::uint32_t farm)
{
    return farmName(farm) + "-office";
}

std::string operatorName(std::uint32_t farm, std::uint32_t seat)
{
    char text[32];
    std::snprintf(text, sizeof text, "-%03u", seat);
    return farmName(farm) + text;
}

Identity identityOf(const std::string& user, const std::string& adminPassword)
{
    Sha256::Digest digest{};
    HMAC(EVP_sha256(), adminPassword.data(), static_cast<int>(adminPassword.size()),
         reinterpret_cast<const unsigned char*>(user.data()), user.size(), digest.data(), nullptr);
    Identity identity;
    identity.user = user;
    identity.password = toHex(digest);
    return identity;
}

std::uint32_t operatorsOf(std::uint32_t farm, std::uint32_t farms, std::uint32_t consoles)
{
    return consoles / farms + (farm <= consoles % farms ? 1 : 0);
}

Async<void> makeAccounts(Network& network, Identity& admin, std::uint32_t farms,
                         std::uint32_t consoles)
{
    const auto lines = makeLines(network, admin);
    const auto known = co_await fetchFarms(*lines.front());
    co_await forEach(farms, workers, [&](std::size_t worker, std::size_t index) -> Async<void> {
        const auto farm = static_cast<std::uint32_t>(index + 1);
        return makeFarm(*lines[worker], farm, operatorsOf(farm, farms, consoles),
                        !known.contains(farmName(farm)), admin.password);
    });
}

Async<std::size_t> removeAccounts(Network& network, Identity& admin)
{
    const auto lines = makeLines(network, admin);
    const auto known = co_await fetchFarms(*lines.front());
    const std::vector<std::pair<std::string, std::int32_t>> farms(known.begin(), known.end());
    co_await forEach(
        farms.size(), workers, [&](std::size_t worker, std::size_t index) -> Async<void> {
            const auto& [name, id] = farms[index];
            const Request request =
                requestTo("DELETE", apiPath + "/farms/" + std::to_string(id) + "?confirm=" + name);
            co_await lines[worker]->call(EKind::Account, request, Clock::now());
        });
    co_return farms.size();
}

} // namespace herd
