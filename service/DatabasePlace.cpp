#include "service/DatabasePlace.h"

#include <stdexcept>
#include <string_view>

namespace kelvo {

DatabasePlace DatabasePlace::parse(const std::string& text)
{
    constexpr std::string_view fileScheme = "sqlite:";
    DatabasePlace place;
    if (text.starts_with("postgresql://")) {
        place.url = text;
    } else if (text.starts_with(fileScheme) && text.size() > fileScheme.size()) {
        place.file = text.substr(fileScheme.size());
    } else {
        throw std::invalid_argument("give sqlite:FILE or postgresql://HOST/DATABASE");
    }
    return place;
}

} // namespace kelvo
