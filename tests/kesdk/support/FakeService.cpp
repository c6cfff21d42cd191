// The service in memory: its farm, and which function answers a request.
#include "support/FakeService.h"

#include "base/DigestText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>

namespace kesdk::test {

using impl::HttpResponse;
using nlohmann::json;

namespace {

constexpr const char* kProjects[] = {"To Console", "From Console",  "AB Lines",     "Curves",
                                     "Pivots",     "Optimal Lines", "Project Lines"};

bool StartsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

std::string Sha256Of(const std::string& content)
{
    impl::Sha256 hash;
    hash.Update(content.data(), content.size());
    return impl::ToHex(hash.Finish());
}

// The number after `prefix` in the target.
std::int64_t IdIn(const std::string& target, const std::string& prefix)
{
    return std::stoll(target.substr(prefix.size()));
}

} // namespace

FakeService::FakeService()
{
    for (const char* name : kProjects)
        m_projects[m_nextId++] = name;
}

std::unique_ptr<impl::HttpTransport> FakeService::NewTransport()
{
    auto transport = std::make_unique<FakeTransport>(
        [this](const Request& request, const impl::AbortCheck& abort) {
            return Handle(request, abort);
        });
    transport->onWake = [this] { m_changed.notify_all(); };
    return transport;
}

std::int64_t FakeService::AddUser(const std::string& name, const std::string& password)
{
    const std::lock_guard lock(m_mutex);
    const std::int64_t id = m_nextId++;
    m_users[id] = {name, password};
    return id;
}

std::int64_t FakeService::AddInbox(std::int64_t userId, const std::string& project)
{
    const std::lock_guard lock(m_mutex);
    for (const auto& [id, name] : m_projects) {
        if (name == project) {
            const std::int64_t inbox = m_nextId++;
            m_inboxes[inbox] = {id, userId};
            return inbox;
        }
    }
    return 0;
}

std::int64_t FakeService::StoreFile(std::int64_t inboxId, const std::string& name,
                                    const std::string& content, bool hasEvent)
{
    const std::int64_t id = m_nextId++;
    m_files[id] = {inboxId, name, content, Sha256Of(content), false};
    if (hasEvent)
        AddEvent("file-added", inboxId, FileJson(id));
    return id;
}

std::int64_t FakeService::AddFile(std::int64_t inboxId, const std::string& name,
                                  const std::string& content)
{
    const std::lock_guard lock(m_mutex);
    return StoreFile(inboxId, name, content, true);
}

std::int64_t FakeService::AddFileSilently(std::int64_t inboxId, const std::string& name,
                                          const std::string& content)
{
    const std::lock_guard lock(m_mutex);
    return StoreFile(inboxId, name, content, false);
}

void FakeService::RemoveFile(std::int64_t fileId)
{
    const std::lock_guard lock(m_mutex);
    m_files[fileId].isRemoved = true;
    AddEvent("file-removed", m_files[fileId].inbox, FileJson(fileId));
}

void FakeService::ForgetUploads()
{
    const std::lock_guard lock(m_mutex);
    m_uploads.clear();
}

void FakeService::CorruptNextCommit()
{
    const std::lock_guard lock(m_mutex);
    m_corruptsNextCommit = true;
}

void FakeService::Corrupt(std::int64_t fileId)
{
    const std::lock_guard lock(m_mutex);
    m_files[fileId].content.at(0) ^= 1;
}

void FakeService::SetOnline(bool isOnline)
{
    const std::lock_guard lock(m_mutex);
    m_isOnline = isOnline;
    if (!isOnline)
        ++m_closeCount;
    m_changed.notify_all();
}

void FakeService::FailNext(Fault fault)
{
    const std::lock_guard lock(m_mutex);
    m_faults.push_back(std::move(fault));
}

std::vector<SentRequest> FakeService::Requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

int FakeService::Count(const std::string& lineStart) const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(
        std::count_if(m_requests.begin(), m_requests.end(),
                      [&](const SentRequest& sent) { return StartsWith(sent.Line(), lineStart); }));
}

bool FakeService::WaitForRequests(const std::string& lineStart, int count) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kHangGuard, [&] {
        return std::count_if(m_requests.begin(), m_requests.end(), [&](const SentRequest& sent) {
                   return StartsWith(sent.Line(), lineStart);
               }) >= count;
    });
}

std::string FakeService::Content(std::int64_t fileId) const
{
    const std::lock_guard lock(m_mutex);
    return m_files.at(fileId).content;
}

std::vector<std::int64_t> FakeService::FileIds(std::int64_t inboxId) const
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::int64_t> ids;
    for (const auto& [id, file] : m_files) {
        if (file.inbox == inboxId && !file.isRemoved)
            ids.push_back(id);
    }
    return ids;
}

HttpResponse FakeService::Answer(const SentRequest& sent, bool isWhole)
{
    const std::string line = sent.Line();
    if (line == "POST /v1/sessions")
        return Login(sent);
    const std::int64_t user = UserOf(sent);
    if (user == 0)
        return Problem(401, "unauthenticated");
    if (line == "GET /v1/account")
        return Account(user);
    if (line == "POST /v1/uploads")
        return BeginUpload(sent, isWhole);
    if (StartsWith(line, "HEAD /v1/uploads/"))
        return HeadUpload(sent.request.target.substr(12));
    if (StartsWith(line, "PATCH /v1/uploads/"))
        return ContinueUpload(sent, sent.request.target.substr(12), isWhole);
    if (StartsWith(line, "POST /v1/projects/"))
        return CreateInbox(sent.request.target.substr(13), user);
    if (StartsWith(line, "DELETE /v1/resources/"))
        return DeleteFile(sent, IdIn(sent.request.target, "/v1/resources/"));
    if (StartsWith(line, "GET /v1/resources/")) {
        const std::int64_t id = IdIn(sent.request.target, "/v1/resources/");
        return line.find("/content") == std::string::npos ? GetResource(id) : GetContent(sent, id);
    }
    if (line == "DELETE /v1/sessions/current" || StartsWith(line, "PUT /v1/") ||
        line == "POST /v1/positions" || line == "POST /v1/fetches")
        return MakeResponse(204);
    return Problem(404, "not-found");
}

HttpResponse FakeService::Login(const SentRequest& sent)
{
    const json credentials = json::parse(sent.content);
    for (const auto& [id, user] : m_users) {
        if (user.name == credentials["user"] && user.password == credentials["password"]) {
            const std::string token = "token-" + std::to_string(m_tokens.size() + 1);
            m_tokens[token] = id;
            m_endReason.clear();
            return MakeResponse(201, json{{"token", token},
                                          {"user", {{"id", id}, {"name", user.name}}},
                                          {"expires_at", "2030-01-01T00:00:00Z"}}
                                         .dump());
        }
    }
    return Problem(401, "invalid-credentials");
}

std::int64_t FakeService::UserOf(const SentRequest& sent) const
{
    constexpr std::size_t kBearer = 7;
    const std::string header = sent.Header("Authorization");
    const auto found = m_tokens.find(header.size() > kBearer ? header.substr(kBearer) : "");
    return found == m_tokens.end() ? 0 : found->second;
}

} // namespace kesdk::test
