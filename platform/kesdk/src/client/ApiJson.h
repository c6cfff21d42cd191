// Reads the service's JSON into records, and writes the contract's records as JSON.
#pragma once

#include "client/Records.h"
#include "kesdk/api/Environment.h"

#include <optional>
#include <string>
#include <string_view>

namespace kesdk::impl {

// Each result is empty if the text is not what the API describes.
std::optional<LoginRecord> ParseLogin(std::string_view json);
std::optional<AccountRecord> ParseAccount(std::string_view json);
std::optional<ProjectRecord> ParseProjectResources(std::string_view json);
std::optional<ResourceRecord> ParseResource(std::string_view json);
std::optional<InboxRecord> ParseInbox(std::string_view json);
std::optional<std::vector<FileRecord>> ParseUploadedFiles(std::string_view json);

AccountEvent ParseEvent(std::string_view name, std::string id, std::string_view json);

struct ProblemDocument
{
    std::string name; // the last part of the problem type
    std::string detail;
};
// The members are empty if the text is not a problem document.
ProblemDocument ParseProblem(std::string_view json);

std::string LoginJson(const std::wstring& user, const std::wstring& password);
std::string EnvironmentJson(const api::Environment& environment);
std::string DeviceJson(const api::Environment::MeasDeviceReport& report, bool sharing);
std::string PositionJson(const api::Position& position);
std::string FetchesJson(const std::vector<FetchRecord>& fetches);

} // namespace kesdk::impl
