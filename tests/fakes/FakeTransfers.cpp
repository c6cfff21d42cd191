// The fake connection's inbox creation, transfers, deletions and reports.
#include "tests/fakes/FakeEnterpriseConnection.h"
#include "tests/fakes/Utf8.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace fakes {

using kesdk::api::Environment;

namespace {

std::optional<std::string> ReadWhole(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream || !std::filesystem::is_regular_file(path))
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

// Writes under another name first, as the SDK does.
bool WriteWhole(const std::filesystem::path& path, const std::string& content)
{
    std::filesystem::path part = path;
    part += ".part";
    {
        std::ofstream stream(part, std::ios::binary | std::ios::trunc);
        stream.write(content.data(), static_cast<std::streamsize>(content.size()));
        stream.flush();
        if (!stream)
            return false;
    }
    std::error_code error;
    std::filesystem::rename(part, path, error);
    return !error;
}

bool IsUsableAsFileName(const std::wstring& name)
{
    return !name.empty() && name != L"." && name != L".." &&
           name.find(L'/') == std::wstring::npos && name.find(L'\0') == std::wstring::npos;
}

} // namespace

// Begins a transfer or deletion. The abort check, or an end of the session in the check, can end it
// before it starts.
bool FakeEnterpriseConnection::BeginsTransfer(FakeCall call)
{
    if (!BeginsInSession(std::move(call)))
        return false;
    FakeAbortCheck shouldAbort;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        shouldAbort = m_abortCheck;
    }
    const bool isAborted = shouldAbort && shouldAbort();
    return HasSession() && (!isAborted || Fails(OneError(L"The operation was ended.")));
}

bool FakeEnterpriseConnection::CreateUserInbox(const std::wstring& projectName)
{
    FakeCall call;
    call.operation = FakeOperation::eCreateUserInbox;
    call.text = projectName;
    if (!BeginsTransfer(call))
        return false;
    const std::int64_t userId = UserId();
    return m_farm->InboxId(projectName, userId) != 0 ||
           m_farm->AddInbox(projectName, userId) != 0 ||
           Fails(OneError(L"The project no longer exists."));
}

bool FakeEnterpriseConnection::Upload(const wchar_t* localPath, const TargetIds& targetInboxIds)
{
    FakeCall call;
    call.operation = FakeOperation::eUpload;
    call.text = localPath;
    call.targets = targetInboxIds;
    if (!BeginsTransfer(call))
        return false;
    const std::filesystem::path path(ToUtf8(localPath));
    const std::optional<std::string> content = ReadWhole(path);
    if (!content)
        return Fails(OneError(L"The file cannot be read."));
    for (const std::uint64_t target : targetInboxIds) {
        const auto inbox = m_farm->Find(static_cast<std::int64_t>(target), UserId());
        if (inbox.kind != kesdk::api::eUserInboxResource || inbox.ownerUserId != UserId())
            return Fails(OneError(L"The inbox no longer exists."));
    }
    if (targetInboxIds.empty())
        return Fails(OneError(L"There is no inbox to send to."));
    const std::wstring name = call.text.substr(call.text.rfind(L'/') + 1);
    for (const std::uint64_t target : targetInboxIds)
        m_farm->AddFile(static_cast<std::int64_t>(target), name, *content);
    return true;
}

bool FakeEnterpriseConnection::Download(std::int64_t resourceId, const wchar_t* localPath)
{
    FakeCall call;
    call.operation = FakeOperation::eDownload;
    call.id = resourceId;
    call.text = localPath;
    if (!BeginsTransfer(call))
        return false;
    const auto file = m_farm->Find(resourceId, UserId());
    const std::optional<std::string> content = m_farm->Content(resourceId);
    if (file.kind != kesdk::api::eFileResource || !content)
        return Fails(OneError(L"File no longer exists."));
    if (!IsUsableAsFileName(file.name))
        return Fails(OneError(L"The file's name cannot be used on this console."));
    return WriteWhole(ToUtf8(localPath), *content) ||
           Fails(OneError(L"The file cannot be written."));
}

bool FakeEnterpriseConnection::Delete(std::int64_t resourceId)
{
    FakeCall call;
    call.operation = FakeOperation::eDelete;
    call.id = resourceId;
    if (!BeginsTransfer(call))
        return false;
    return (m_farm->Find(resourceId, UserId()).kind == kesdk::api::eFileResource &&
            m_farm->RemoveEntry(resourceId)) ||
           Fails(OneError(L"File no longer exists."));
}

bool FakeEnterpriseConnection::SendEnvironment(const Environment& environment)
{
    FakeCall call;
    call.operation = FakeOperation::eSendEnvironment;
    if (!BeginsInSession(call))
        return false;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_environments.push_back(environment);
    return true;
}

bool FakeEnterpriseConnection::MeasDeviceConnected(const Environment::MeasDeviceReport& report,
                                                   bool sharing)
{
    FakeCall call;
    call.operation = FakeOperation::eMeasDeviceConnected;
    if (!BeginsInSession(call))
        return false;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_deviceReports.push_back({true, report, sharing});
    return true;
}

std::int32_t
FakeEnterpriseConnection::MeasDeviceDisconnected(const Environment::MeasDeviceReport& report,
                                                 bool sharing)
{
    FakeCall call;
    call.operation = FakeOperation::eMeasDeviceDisconnected;
    if (!BeginsInSession(call))
        return 0;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_deviceReports.push_back({false, report, sharing});
    return 1;
}

bool FakeEnterpriseConnection::ReportPosition(const kesdk::api::Position& position)
{
    FakeCall call;
    call.operation = FakeOperation::eReportPosition;
    if (!BeginsInSession(call))
        return false;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_positions.push_back(position);
    return true;
}

std::vector<kesdk::api::Position> FakeEnterpriseConnection::Positions() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_positions;
}

std::vector<Environment> FakeEnterpriseConnection::Environments() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_environments;
}

std::vector<FakeEnterpriseConnection::DeviceReport> FakeEnterpriseConnection::DeviceReports() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_deviceReports;
}

} // namespace fakes
