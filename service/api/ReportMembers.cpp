#include "service/api/ReportMembers.h"

#include "service/http/Problem.h"

#include <array>

namespace kelvo::api {

namespace {

constexpr std::size_t longest = 255;
constexpr std::size_t longestHost = 1000; // the console sends the text of its host unchanged

constexpr std::array<TextMember, 6> consoleTexts{{{"console_string", longest},
                                                  {"host_string", longestHost},
                                                  {"hardware_address", longest},
                                                  {"text4", longest},
                                                  {"kind", longest},
                                                  {"text6", longest}}};
constexpr std::array consoleNumbers{"number1", "number2", "number3", "number4", "number5"};
constexpr std::array<TextMember, 7> deviceTexts{{{"hardware_address", longest},
                                                 {"text2", longest},
                                                 {"console_string", longest},
                                                 {"text4", longest},
                                                 {"kind", longest},
                                                 {"text6", longest},
                                                 {"text7", longest}}};
constexpr std::array deviceNumbers{"number8"};

/** The first characters of valid UTF-8. */
std::string firstCharacters(const std::string& text, std::size_t most)
{
    std::size_t end = 0;
    for (std::size_t count = 0; end < text.size(); ++end) {
        const bool begins = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
        if (begins && count++ == most) {
            break;
        }
    }
    return text.substr(0, end);
}

} // namespace

const Members consoleMembers{consoleTexts, consoleNumbers};
const Members deviceMembers{deviceTexts, deviceNumbers};

void refuseLongTexts(const nlohmann::json& document, const Members& members)
{
    for (const auto& [name, most] : members.texts) {
        const auto found = document.find(name);
        if (found != document.end() && found->is_string() &&
            countCharacters(found->get_ref<const std::string&>()) > most) {
            throw http::Problem(http::EProblem::Unprocessable,
                                std::string("The member \"") + name + "\" has more than " +
                                    std::to_string(most) + " characters.");
        }
    }
}

Json pick(const nlohmann::json& document, const Members& members)
{
    Json picked = Json::object();
    for (const auto& [name, most] : members.texts) {
        if (const auto found = document.find(name); found != document.end() && found->is_string()) {
            picked[name] = firstCharacters(found->get<std::string>(), most);
        }
    }
    for (const char* name : members.numbers) {
        const auto found = document.find(name);
        if (found != document.end() && found->is_number_integer()) {
            picked[name] = *found;
        }
    }
    return picked;
}

} // namespace kelvo::api
