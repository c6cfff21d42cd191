#include "service/store/FarmTable.h"

#include "service/store/Bind.h"
#include "service/store/Errors.h"
#include "service/store/PartQuery.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

Farm addFarm(Transaction& transaction, const std::string& name)
{
    soci::session& sql = transaction.sql;
    Farm farm{0, name};
    sql << "UPDATE counters SET value = value + 1 WHERE name = 'farms'";
    sql << "SELECT value FROM counters WHERE name = 'farms'", into(farm.id);
    sql << "INSERT INTO farms (id, name, last_resource, last_event, pruned_event)"
           " VALUES (:id, :name, 0, 0, 0)",
        use(farm.id), use(farm.name);
    for (const char* projectName : projectNames) {
        const Id id = nextResourceId(transaction, farm.id);
        const std::string project = projectName;
        sql << "INSERT INTO projects (farm_id, id, name) VALUES (:farm, :id, :name)", use(farm.id),
            use(id), use(project);
    }
    return farm;
}

void eachFarm(soci::session& sql, std::optional<Id> after, int most,
              const std::function<bool(const Farm&)>& visit)
{
    Farm farm;
    PartQuery query(sql);
    query.into(farm.id, farm.name);
    query.where("deleted_ms IS NULL");
    query.filter(after, "id > :after");
    query.execute("SELECT id, name FROM farms", "id", most);
    while (query.fetch() && visit(farm)) {
    }
}

std::vector<Farm> allFarms(soci::session& sql)
{
    std::vector<Farm> farms;
    eachFarm(sql, {}, 0, [&farms](const Farm& farm) {
        farms.push_back(farm);
        return true;
    });
    return farms;
}

void setFarmName(Transaction& transaction, Id farm, const std::string& name)
{
    transaction.sql << "UPDATE farms SET name = :name WHERE id = :id", use(name), use(farm);
}

std::optional<Farm> farmById(soci::session& sql, Id farm)
{
    Farm found{farm, {}};
    sql << "SELECT name FROM farms WHERE id = :id AND deleted_ms IS NULL", into(found.name),
        use(farm);
    return sql.got_data() ? std::optional(found) : std::nullopt;
}

std::optional<Farm> farmByName(soci::session& sql, const std::string& name)
{
    Farm farm{0, name};
    sql << "SELECT id FROM farms WHERE name = :name", into(farm.id), use(name);
    return sql.got_data() ? std::optional(farm) : std::nullopt;
}

std::vector<Project> projectsOf(soci::session& sql, Id farm)
{
    Project project;
    std::vector<Project> projects;
    soci::statement query =
        (sql.prepare << "SELECT id, name FROM projects WHERE farm_id = :farm ORDER BY id",
         into(project.id), into(project.name), use(farm));
    query.execute();
    while (query.fetch()) {
        projects.push_back(project);
    }
    return projects;
}

std::optional<Project> projectById(soci::session& sql, Id farm, Id project)
{
    Project found{project, {}};
    sql << "SELECT name FROM projects WHERE farm_id = :farm AND id = :id", into(found.name),
        use(farm), use(project);
    return sql.got_data() ? std::optional(found) : std::nullopt;
}

std::optional<Project> projectByName(soci::session& sql, Id farm, const std::string& name)
{
    Project found{0, name};
    sql << "SELECT id FROM projects WHERE farm_id = :farm AND name = :name", into(found.id),
        use(farm), use(name);
    return sql.got_data() ? std::optional(found) : std::nullopt;
}

Id nextResourceId(Transaction& transaction, Id farm)
{
    Id id = 0;
    transaction.sql << "UPDATE farms SET last_resource = last_resource + 1 WHERE id = :farm"
                       " RETURNING last_resource",
        into(id), use(farm);
    if (id > largestId) {
        throw OutOfIds();
    }
    return id;
}

} // namespace kelvo::store
