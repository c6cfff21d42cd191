#include "service/api/Documents.h"

#include "service/base/Encoding.h"
#include "service/base/Names.h"
#include "service/base/Time.h"
#include "service/http/Problem.h"

#include <algorithm>

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

constexpr std::size_t longestNameCharacters = 64;
constexpr std::size_t longestFileNameBytes = 255;
constexpr std::size_t longestNoteCharacters = 200;
constexpr long long binDaysMs = 30LL * 24 * 3600 * 1000;

/** A user in a record. */
struct UserReference
{
    store::Id id;
    const std::string& name;
};

void to_json(Json& document, const UserReference& user)
{
    document = {{"id", user.id}, {"name", user.name}};
}

/** Calls `add` with the name and the value of each member of the file's record. */
template <class Add>
void eachMember(const store::File& file, Add add)
{
    add("id", file.id);
    add("kind", "file");
    add("name", file.name);
    add("container", file.inbox);
    add("size", file.sizeBytes);
    add("sha256", file.sha256);
    add("created_at", rfc3339(file.createdMs));
    add("etag", etagOf(file));
    if (file.senderId > 0) {
        add("sent_by", UserReference{file.senderId, file.senderName});
    }
    if (!file.note.empty()) {
        add("note", file.note);
    }
}

void appendValue(std::string& text, long long number)
{
    text += std::to_string(number);
}

bool isPrintable(char c)
{
    return c >= ' ' && c <= '~';
}

bool isEscaped(char c)
{
    return c == '"' || c == '\\';
}

void appendValue(std::string& text, std::string_view value)
{
    if (!std::all_of(value.begin(), value.end(), isPrintable)) {
        text += dump(Json(value));
        return;
    }
    text += '"';
    while (!value.empty()) {
        if (isEscaped(value.front())) {
            text += '\\';
        }
        const auto end = std::find_if(value.begin() + 1, value.end(), isEscaped);
        text.append(value.begin(), end);
        value.remove_prefix(static_cast<std::size_t>(end - value.begin()));
    }
    text += '"';
}

void appendValue(std::string& text, const UserReference& user)
{
    text += "{\"id\":";
    appendValue(text, user.id);
    text += ",\"name\":";
    appendValue(text, user.name);
    text += '}';
}

} // namespace

std::string dump(const Json& document)
{
    return document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json toJson(const store::Farm& farm)
{
    return {{"id", farm.id}, {"name", farm.name}};
}

Json toJson(const store::User& user)
{
    return {{"id", user.id},
            {"name", user.name},
            {"role", store::toText(user.role)},
            {"disabled", user.disabled},
            {"farm", user.farm ? toJson(*user.farm) : Json()}};
}

Json toJson(const store::File& file)
{
    Json document;
    eachMember(file, [&document](const char* name, const auto& value) { document[name] = value; });
    return document;
}

void appendJson(std::string& text, const store::File& file)
{
    char before = '{';
    eachMember(file, [&text, &before](const char* name, const auto& value) {
        text += before;
        text += '"';
        text += name;
        text += "\":";
        appendValue(text, value);
        before = ',';
    });
    text += '}';
}

Json toJson(const store::BinnedFile& binned)
{
    Json document = toJson(binned.file);
    document["deleted_at"] = rfc3339(binned.deletedMs);
    document["expires_at"] = rfc3339(binned.deletedMs + binDaysMs);
    document["deleted_by"] = binned.deletedBy;
    return document;
}

void addFetch(Json& file, const store::Fetch& fetch)
{
    file["fetched_at"] = rfc3339(fetch.fetchedMs);
    file["fetched_by"] = {{"console", fetch.console},
                          {"user", {{"id", fetch.userId}, {"name", fetch.userName}}}};
    if (fetch.unpackedMs > 0) {
        file["unpacked_at"] = rfc3339(fetch.unpackedMs);
    } else if (!fetch.unpackError.empty()) {
        file["unpack_error"] = fetch.unpackError;
    }
}

Json toJson(const store::SessionInfo& session, const std::string& currentTokenHash)
{
    std::string console;
    if (!session.environment.empty()) {
        const auto report = nlohmann::json::parse(session.environment);
        const auto& described = report.at("console");
        if (const auto name = described.find("console_string");
            name != described.end() && name->is_string()) {
            console = name->get<std::string>();
        }
    }
    return {{"id", session.id()},
            {"console", console},
            {"address", session.address},
            {"created_at", rfc3339(session.createdMs)},
            {"last_seen_at", rfc3339(session.lastSeenMs)},
            {"expires_at", rfc3339(session.expiresMs)},
            {"current", session.tokenHash == currentTokenHash}};
}

Json toJson(const store::Project& project)
{
    return {{"id", project.id}, {"kind", "project"}, {"name", project.name}};
}

Json toJson(const store::Inbox& inbox)
{
    return {{"id", inbox.id},
            {"kind", "user-inbox"},
            {"name", inbox.name},
            {"project", inbox.project},
            {"owner", {{"id", inbox.ownerId}, {"name", inbox.ownerName}}}};
}

std::string etagOf(const store::File& file)
{
    return "\"" + file.sha256 + "\"";
}

std::string requireString(const nlohmann::json& document, const char* member)
{
    const auto found = document.find(member);
    if (found == document.end() || !found->is_string()) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("The member \"") + member + "\" must be a string.");
    }
    return found->get<std::string>();
}

std::string requireName(const nlohmann::json& document, const char* member)
{
    const std::string given = requireString(document, member);
    std::string name(withoutBlanks(given));
    const std::size_t length = countCharacters(name);
    if (length == 0 || length > longestNameCharacters || hasControl(name)) {
        throw Problem(EProblem::Unprocessable, std::string("The member \"") + member +
                                                   "\" must have 1 to 64 printable characters.");
    }
    return name;
}

bool isFileName(std::string_view name)
{
    return !name.empty() && name.size() <= longestFileNameBytes && isUtf8(name) &&
           !hasControl(name) && name.find('/') == std::string_view::npos && name != "." &&
           name != "..";
}

bool isNote(std::string_view note)
{
    return isUtf8(note) && !hasControl(note) && countCharacters(note) <= longestNoteCharacters;
}

std::size_t countCharacters(std::string_view utf8)
{
    return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

} // namespace kelvo::api
