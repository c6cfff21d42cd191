#include "service/store/Notice.h"

#include "service/base/Encoding.h"

#include <sstream>

namespace kelvo::store {

namespace {

constexpr std::size_t longestText = 7900; // PostgreSQL takes 7,999 bytes with the sender's id
constexpr const char* everything = "*";

} // namespace

void Notice::add(const Notice& other)
{
    farms.insert(other.farms.begin(), other.farms.end());
    users.insert(other.users.begin(), other.users.end());
    tokens.insert(other.tokens.begin(), other.tokens.end());
    all |= other.all;
}

std::string Notice::text() const
{
    std::string text = all ? everything : "";
    const auto append = [&text](char kind, const std::string& value) {
        text += (text.empty() ? "" : " ") + (kind + value);
    };
    for (const Id farm : farms) {
        append('f', std::to_string(farm));
    }
    for (const Id user : users) {
        append('u', std::to_string(user));
    }
    for (const std::string& token : tokens) {
        append('s', token);
    }
    return all || text.size() > longestText ? everything : text;
}

Notice Notice::parse(std::string_view text)
{
    Notice notice;
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        const std::string value = word.substr(1);
        const auto number = parseNumber(value);
        if (word.front() == 's') {
            notice.tokens.insert(value);
        } else if (word.front() == 'f' && number) {
            notice.farms.insert(static_cast<Id>(*number));
        } else if (word.front() == 'u' && number) {
            notice.users.insert(static_cast<Id>(*number));
        } else {
            notice.all = true;
        }
    }
    return notice;
}

} // namespace kelvo::store
