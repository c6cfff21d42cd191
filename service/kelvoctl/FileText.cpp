#include "service/kelvoctl/FileText.h"

#include "service/kelvoctl/Names.h"

namespace kelvoctl {

std::string senderText(const nlohmann::json& file)
{
    std::string text;
    if (const auto sender = file.find("sent_by"); sender != file.end()) {
        text += "  from " + sender->at("name").get<std::string>();
    }
    if (const auto note = file.find("note"); note != file.end()) {
        text += "  note: " + note->get<std::string>();
    }
    return printable(text);
}

std::string fetchText(const nlohmann::json& file)
{
    const nlohmann::json& by = file.at("fetched_by");
    std::string text = "fetched by console " + by.at("console").dump() + " of " +
                       by.at("user").at("name").get<std::string>() + " at " +
                       file.at("fetched_at").get<std::string>();
    if (file.contains("unpacked_at")) {
        text += ", unpacked";
    } else if (file.contains("unpack_error")) {
        text += ", not unpacked: " + file.at("unpack_error").get<std::string>();
    }
    return text;
}

} // namespace kelvoctl
