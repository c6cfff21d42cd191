// The SDK's event stream on any bytes. The reader does not crash, the size of the pieces makes no
// difference, and the snapshot still answers. The first byte is the size of the pieces.
#include "account/AccountSnapshot.h"
#include "account/EventParser.h"
#include "client/ApiJson.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

using namespace kesdk::impl;
using Events = std::vector<std::tuple<std::string, std::string, std::string>>;

void Demand(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

Events Read(std::string_view text, std::size_t pieceBytes)
{
    Events events;
    EventParser parser([&events](const ServerSentEvent& event) {
        events.emplace_back(event.id, event.name, event.data);
    });
    for (std::size_t at = 0; at < text.size(); at += pieceBytes) {
        const std::string_view piece = text.substr(at, pieceBytes);
        if (!parser.Feed(piece.data(), piece.size()))
            break;
    }
    return events;
}

AccountRecord Account()
{
    const FileRecord file{50, 10, L"a.zip", 1, "00", "\"00\""};
    AccountRecord account;
    account.user = {7, L"olga"};
    account.cursor = "3";
    account.projects = {{1, L"To Console", {{10, 1, L"olga", 7, {file}}}}};
    return account;
}

void Apply(const Events& events)
{
    AccountSnapshot snapshot;
    snapshot.Replace(Account());
    for (const auto& [id, name, data] : events) {
        const AccountEvent event = ParseEvent(name, id, data);
        snapshot.ApplyEvent(event);
        Demand(snapshot.ApplyEvent(event).empty() || id.empty() || !std::isdigit(id.front()),
               "an event that comes twice reports no change");
    }
    const std::string cursor = snapshot.Cursor();
    Demand(std::all_of(cursor.begin(), cursor.end(), [](char c) { return c >= ' ' && c <= '~'; }),
           "the cursor is printable");
    Demand(snapshot.Projects().size() == 1, "the projects stay");
    Demand(snapshot.ProjectResources(1).has_value(), "the inboxes of a project are known");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const Events whole = Read(text, std::max<std::size_t>(text.size(), 1));
    Demand(Read(text, std::size_t{data[0] % 16u} + 1) == whole,
           "the size of the pieces makes no difference");
    Apply(whole);
    return 0;
}
