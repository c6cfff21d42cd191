// The rows of lists as vectors.
#pragma once

#include "service/store/ConsoleTable.h"
#include "service/store/FileTable.h"
#include "service/store/UserTable.h"

#include <soci/soci.h>

#include <vector>

namespace kelvo::test {

inline std::vector<store::Console> consolesIn(soci::session& sql, store::Id farm,
                                              const store::ConsolePart& part = {})
{
    std::vector<store::Console> consoles;
    store::consolesOf(sql, farm, part, [&consoles](const store::Console& console) {
        consoles.push_back(console);
        return true;
    });
    return consoles;
}

inline std::vector<store::Device> devicesIn(soci::session& sql, store::Id console)
{
    std::vector<store::Device> devices;
    store::eachDeviceOf(sql, console,
                        [&devices](const store::Device& device) { devices.push_back(device); });
    return devices;
}

inline std::vector<store::User> usersIn(soci::session& sql, const store::UserPart& part)
{
    std::vector<store::User> users;
    store::allUsers(sql, part, [&users](const store::User& user) {
        users.push_back(user);
        return true;
    });
    return users;
}

/** The files of the farm's inboxes, or of one inbox, in the order of their ids. */
inline std::vector<store::File> filesIn(soci::session& sql, store::Id farm, store::Id inbox = 0)
{
    store::File file;
    std::vector<store::File> files;
    soci::statement query =
        (sql.prepare << "SELECT id, inbox_id, name, size_bytes, sha256, created_ms FROM files"
                        " WHERE farm_id = :farm AND (inbox_id = :inbox OR :any = 0)"
                        " AND deleted_ms IS NULL ORDER BY id",
         soci::into(file.id), soci::into(file.inbox), soci::into(file.name),
         soci::into(file.sizeBytes), soci::into(file.sha256), soci::into(file.createdMs),
         soci::use(farm), soci::use(inbox), soci::use(inbox));
    query.execute();
    while (query.fetch()) {
        files.push_back(file);
    }
    return files;
}

inline std::vector<store::BinnedFile> binIn(soci::session& sql, store::Id farm,
                                            const store::BinPart& part = {})
{
    std::vector<store::BinnedFile> files;
    store::binOf(sql, farm, part, [&files](const store::BinnedFile& file) {
        files.push_back(file);
        return true;
    });
    return files;
}

} // namespace kelvo::test
