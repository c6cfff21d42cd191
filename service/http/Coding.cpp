#include "service/http/Coding.h"

#include "service/base/Encoding.h"

#include <algorithm>

namespace kelvo::http {

namespace {

/** "q=0", "q=0.0" and so on refuse the coding. */
bool isRefused(std::string_view parameters)
{
    const std::size_t mark = parameters.find_first_of("qQ");
    if (mark == std::string_view::npos || parameters.substr(mark + 1, 1) != "=") {
        return false;
    }
    const std::string_view weight = trimmed(parameters.substr(mark + 2));
    return weight.find_first_not_of("0.") == std::string_view::npos;
}

} // namespace

bool acceptsCoding(std::string_view header, std::string_view coding)
{
    while (!header.empty()) {
        const std::size_t end = std::min(header.find(','), header.size());
        const std::string_view item = trimmed(header.substr(0, end));
        const std::size_t semicolon = std::min(item.find(';'), item.size());
        if (equalsIgnoringCase(trimmed(item.substr(0, semicolon)), coding)) {
            return !isRefused(item.substr(semicolon));
        }
        header.remove_prefix(std::min(end + 1, header.size()));
    }
    return false;
}

} // namespace kelvo::http
