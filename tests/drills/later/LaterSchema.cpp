// The schema of an imagined later version: one step more than the released steps. The linker takes
// these functions in the place of those of the service's library.
#define schemaSteps releasedSteps
#define currentSchema releasedSchema
// NOLINTNEXTLINE(bugprone-suspicious-include): the released steps, under another name
#include "service/store/SchemaSteps.cpp"
#undef schemaSteps
#undef currentSchema

#include <vector>

namespace kelvo::store {

namespace {

constexpr const char* soils[] = {
    "ALTER TABLE files ADD COLUMN soil TEXT NOT NULL DEFAULT ''",
    "CREATE INDEX files_by_soil ON files (farm_id, soil)",
};

std::vector<SchemaStep> laterSteps()
{
    std::vector<SchemaStep> steps(releasedSteps().begin(), releasedSteps().end());
    steps.push_back({soils, 0});
    return steps;
}

} // namespace

std::span<const SchemaStep> schemaSteps()
{
    static const std::vector<SchemaStep> steps = laterSteps();
    return steps;
}

int currentSchema()
{
    return static_cast<int>(schemaSteps().size());
}

} // namespace kelvo::store
