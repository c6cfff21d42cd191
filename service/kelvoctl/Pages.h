// Lists that the service answers in pages.
#pragma once

#include "service/kelvoctl/CommandContext.h"

#include <functional>
#include <string>

namespace kelvoctl {

// Calls `visit` for the items of all pages, from the member `items` of each page, as the pages
// arrive.
void eachItem(ApiClient& client, const std::string& path, const char* items,
              const std::function<void(const nlohmann::json& item)>& visit);

nlohmann::json allItems(ApiClient& client, const std::string& path, const char* items);

// Prints the items of all pages: with --json as one array on one line, otherwise by `print`.
void printItems(CommandContext& context, const std::string& path, const char* items,
                const std::function<void(const nlohmann::json& item)>& print);

} // namespace kelvoctl
