// The rows of lists as vectors.
#pragma once

#include "service/store/ConsoleTable.h"
#include "service/store/FileTable.h"
#include "service/store/UserTable.h"

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
