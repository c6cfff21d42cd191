// Farms and their seven projects.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** The projects of every farm, in the order of their ids. */
inline constexpr std::array<const char*, 7> projectNames{
    "To Console", "From Console", "AB Lines", "Curves", "Pivots", "Optimal Lines", "Project Lines"};

/** Adds a farm with its projects. Throws NotUnique. */
Farm addFarm(Transaction& transaction, const std::string& name);

void setFarmName(Transaction& transaction, Id farm, const std::string& name);

/** Farms in the order of their ids, at most `most`; 0: all. Ends when `visit` returns false. */
void eachFarm(soci::session& sql, std::optional<Id> after, int most,
              const std::function<bool(const Farm&)>& visit);

std::vector<Farm> allFarms(soci::session& sql);
std::optional<Farm> farmById(soci::session& sql, Id farm);
std::optional<Farm> farmByName(soci::session& sql, const std::string& name);

std::vector<Project> projectsOf(soci::session& sql, Id farm);
std::optional<Project> projectById(soci::session& sql, Id farm, Id project);
std::optional<Project> projectByName(soci::session& sql, Id farm, const std::string& name);

/** Returns the farm's next id for a project, inbox or file. Throws OutOfIds. */
Id nextResourceId(Transaction& transaction, Id farm);

} // namespace kelvo::store
