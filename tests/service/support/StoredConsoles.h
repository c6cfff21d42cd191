// The rows of consoles as vectors.
#pragma once

#include "service/store/ConsoleTable.h"

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

} // namespace kelvo::test
