#include "client/ApiJson.h"

#include "base/Text.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <stdexcept>
#include <utility>

namespace kesdk::impl {

namespace {

using nlohmann::json;

std::int64_t ToInteger(const json& value)
{
    constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
    const bool isTooLarge = value.is_number_unsigned() && value.get<std::uint64_t>() > kMost;
    if (!value.is_number_integer() || isTooLarge)
        throw std::out_of_range("integer");
    return value.get<std::int64_t>();
}

std::int64_t ToId(const json& value)
{
    const std::int64_t id = ToInteger(value);
    if (!IsId(id))
        throw std::out_of_range("id");
    return id;
}

std::string ToString(const json& value)
{
    return value.get<std::string>();
}

std::string ToFieldText(const json& value)
{
    std::string text = ToString(value);
    if (!IsFieldText(text))
        throw std::out_of_range("field");
    return text;
}

FileRecord ToFile(const json& value)
{
    FileRecord file;
    file.id = ToId(value.at("id"));
    file.containerId = ToId(value.at("container"));
    file.name = ToWide(ToString(value.at("name")));
    file.sizeBytes = ToInteger(value.at("size"));
    file.sha256Hex = ToString(value.at("sha256"));
    file.etag = ToFieldText(value.at("etag"));
    if (file.sizeBytes < 0)
        throw std::out_of_range("size");
    return file;
}

std::vector<FileRecord> ToFiles(const json& values)
{
    std::vector<FileRecord> files;
    files.reserve(values.size());
    for (const json& value : values)
        files.push_back(ToFile(value));
    return files;
}

InboxRecord ToInbox(const json& value)
{
    InboxRecord inbox;
    inbox.id = ToId(value.at("id"));
    inbox.projectId = ToId(value.at("project"));
    inbox.name = ToWide(ToString(value.at("name")));
    inbox.ownerUserId = ToId(value.at("owner").at("id"));
    if (const auto entries = value.find("entries"); entries != value.end() && entries->is_array())
        inbox.entries = ToFiles(*entries);
    return inbox;
}

ProjectRecord ToProject(const json& value, const json& resources)
{
    ProjectRecord project;
    project.id = ToId(value.at("id"));
    project.name = ToWide(ToString(value.at("name")));
    for (const json& resource : resources) {
        if (resource.at("kind") == "user-inbox")
            project.inboxes.push_back(ToInbox(resource));
    }
    return project;
}

UserRecord ToUser(const json& value)
{
    return {ToId(value.at("id")), ToWide(ToString(value.at("name")))};
}

ResourceRecord ToResource(const json& value)
{
    const std::string kind = ToString(value.at("kind"));
    if (kind == "project")
        return ToProject(value, value.value("resources", json::array()));
    if (kind == "user-inbox")
        return ToInbox(value);
    return ToFile(value);
}

// Runs `read` on the parsed text. If a member is missing or has another type, the result is empty.
template <class Read>
auto Parsed(std::string_view text, Read read) -> std::optional<decltype(read(json()))>
{
    try {
        return read(json::parse(text));
    } catch (const json::exception&) {
        return std::nullopt;
    } catch (const std::out_of_range&) {
        return std::nullopt;
    }
}

json DeviceToJson(const api::Environment::MeasDeviceInfo& device)
{
    return {{"hardware_address", ToUtf8(device.hardwareAddress)},
            {"text2", ToUtf8(device.text2)},
            {"console_string", ToUtf8(device.consoleString)},
            {"text4", ToUtf8(device.text4)},
            {"kind", ToUtf8(device.deviceKind)},
            {"text6", ToUtf8(device.text6)},
            {"text7", ToUtf8(device.text7)},
            {"number8", device.number8}};
}

json ConsoleToJson(const api::Environment::ConsoleInfo& console)
{
    return {{"console_string", ToUtf8(console.consoleString)},
            {"host_string", ToUtf8(console.hostString)},
            {"hardware_address", ToUtf8(console.controllerHardwareAddress)},
            {"text4", ToUtf8(console.controllerText)},
            {"kind", ToUtf8(console.controllerKind)},
            {"text6", ToUtf8(console.text6)},
            {"number1", console.number1},
            {"number2", console.number2},
            {"number3", console.number3},
            {"number4", console.number4},
            {"number5", console.number5}};
}

struct EventRow
{
    std::string_view name;
    EAccountEvent kind;
};

constexpr EventRow kEvents[] = {
    {"file-added", EAccountEvent::eFileAdded},
    {"file-removed", EAccountEvent::eFileRemoved},
    {"inbox-added", EAccountEvent::eInboxAdded},
    {"session-ended", EAccountEvent::eSessionEnded},
};

void FillEvent(AccountEvent& event, const json& data)
{
    if (event.kind == EAccountEvent::eSessionEnded)
        return;
    ToId(data.at("container").at("id")); // throws if the id is missing
    if (event.kind == EAccountEvent::eInboxAdded)
        event.inbox = ToInbox(data.at("entry"));
    else
        event.file = ToFile(data.at("entry"));
}

} // namespace

std::optional<LoginRecord> ParseLogin(std::string_view text)
{
    return Parsed(text, [](const json& value) {
        return LoginRecord{ToFieldText(value.at("token")), ToUser(value.at("user"))};
    });
}

std::optional<AccountRecord> ParseAccount(std::string_view text)
{
    return Parsed(text, [](const json& value) {
        AccountRecord account;
        account.user = ToUser(value.at("user"));
        account.cursor = ToFieldText(value.at("cursor"));
        for (const json& project : value.at("projects"))
            account.projects.push_back(ToProject(project, project.at("resources")));
        return account;
    });
}

std::optional<ProjectRecord> ParseProjectResources(std::string_view text)
{
    return Parsed(text, [](const json& value) {
        return ToProject(value.at("project"), value.at("resources"));
    });
}

std::optional<ResourceRecord> ParseResource(std::string_view text)
{
    return Parsed(text, [](const json& value) { return ToResource(value); });
}

std::optional<InboxRecord> ParseInbox(std::string_view text)
{
    return Parsed(text, [](const json& value) { return ToInbox(value); });
}

std::optional<std::vector<FileRecord>> ParseUploadedFiles(std::string_view text)
{
    return Parsed(text, [](const json& value) { return ToFiles(value.at("files")); });
}

AccountEvent ParseEvent(std::string_view name, std::string id, std::string_view text)
{
    AccountEvent event;
    event.id = std::move(id);
    for (const EventRow& row : kEvents) {
        if (row.name == name)
            event.kind = row.kind;
    }
    if (event.kind == EAccountEvent::eOther)
        return event;
    const auto filled = Parsed(text, [&event](const json& value) {
        FillEvent(event, value);
        return true;
    });
    if (!filled)
        event.kind = EAccountEvent::eUnreadable;
    return event;
}

ProblemDocument ParseProblem(std::string_view text)
{
    constexpr std::string_view kPrefix = "urn:kelvo:problem:";
    const auto problem = Parsed(text, [&](const json& value) {
        ProblemDocument document;
        const std::string type = value.value("type", "");
        if (type.compare(0, kPrefix.size(), kPrefix) == 0)
            document.name = type.substr(kPrefix.size());
        document.detail = value.value("detail", "");
        return document;
    });
    return problem.value_or(ProblemDocument{});
}

std::string LoginJson(const std::wstring& user, const std::wstring& password)
{
    return json{{"user", ToUtf8(user)}, {"password", ToUtf8(password)}}.dump();
}

std::string EnvironmentJson(const api::Environment& environment)
{
    return json{{"timestamp_ms", environment.timeStampMs},
                {"console", ConsoleToJson(environment.console)},
                {"controller", DeviceToJson(environment.controller)}}
        .dump();
}

std::string DeviceJson(const api::Environment::MeasDeviceReport& report, bool sharing)
{
    return json{{"timestamp_ms", report.timeStampMs},
                {"state", report.state},
                {"flag", sharing},
                {"device", DeviceToJson(report.device)}}
        .dump();
}

std::string PositionJson(const api::Position& position)
{
    return json{{"time_s", position.timeSeconds},
                {"latitude", position.latitudeDegrees},
                {"longitude", position.longitudeDegrees}}
        .dump();
}

std::string FetchesJson(const std::vector<FetchRecord>& fetches)
{
    json list = json::array();
    for (const FetchRecord& fetch : fetches) {
        json entry{{"file", fetch.fileId}, {"age_s", fetch.ageS}};
        if (fetch.unpackedAgeS)
            entry["unpacked_age_s"] = *fetch.unpackedAgeS;
        else if (!fetch.unpackErrorUtf8.empty())
            entry["unpack_error"] = fetch.unpackErrorUtf8;
        list.push_back(std::move(entry));
    }
    return json{{"fetches", std::move(list)}}.dump();
}

} // namespace kesdk::impl
