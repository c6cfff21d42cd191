// The service in memory: account, files and uploads.
#include "support/FakeService.h"

#include "base/DigestText.h"
#include "base/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>

namespace kesdk::test {

using impl::HttpResponse;
using nlohmann::json;

namespace {

// The value of `Repr-Digest` for this content.
std::string DigestOf(const std::string& content)
{
    impl::Sha256 hash;
    hash.Update(content.data(), content.size());
    return impl::ToReprDigest(hash.Finish());
}

std::string DecodeBase64(const std::string& text)
{
    constexpr const char* kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    unsigned bits = 0;
    int count = 0;
    for (const char c : text) {
        const std::size_t at = std::string(kAlphabet).find(c);
        if (at == std::string::npos)
            break;
        bits = (bits << 6) | static_cast<unsigned>(at);
        count += 6;
        if (count >= 8) {
            count -= 8;
            out += static_cast<char>((bits >> count) & 0xFF);
        }
    }
    return out;
}

// Reads the value of `key` from "name BASE64,targets BASE64".
std::string MetadataValue(const std::string& metadata, const std::string& key)
{
    std::istringstream pairs(metadata);
    for (std::string pair; std::getline(pairs, pair, ',');) {
        if (pair.compare(0, key.size() + 1, key + " ") == 0)
            return DecodeBase64(pair.substr(key.size() + 1));
    }
    return {};
}

} // namespace

std::string FakeService::FileJson(std::int64_t id) const
{
    const File& file = m_files.at(id);
    return json{{"id", id},
                {"kind", "file"},
                {"name", file.name},
                {"container", file.inbox},
                {"size", file.content.size()},
                {"sha256", file.sha256},
                {"created_at", "2026-01-01T00:00:00Z"},
                {"etag", '"' + file.sha256 + '"'}}
        .dump();
}

std::string FakeService::InboxJson(std::int64_t id) const
{
    const Inbox& inbox = m_inboxes.at(id);
    json entries = json::array();
    for (const auto& [fileId, file] : m_files) {
        if (file.inbox == id && !file.isRemoved)
            entries.push_back(json::parse(FileJson(fileId)));
    }
    const auto owner = m_users.find(inbox.owner);
    const std::string name = owner == m_users.end() ? "unknown user" : owner->second.name;
    return json{{"id", id},
                {"kind", "user-inbox"},
                {"name", name},
                {"project", inbox.project},
                {"owner", {{"id", inbox.owner}, {"name", name}}},
                {"entries", entries}}
        .dump();
}

HttpResponse FakeService::Account(std::int64_t userId) const
{
    json projects = json::array();
    for (const auto& [id, name] : m_projects) {
        json resources = json::array();
        for (const auto& [inboxId, inbox] : m_inboxes) {
            if (inbox.project == id)
                resources.push_back(json::parse(InboxJson(inboxId)));
        }
        projects.push_back(
            {{"id", id}, {"kind", "project"}, {"name", name}, {"resources", resources}});
    }
    const auto newest = m_firstEvent + static_cast<std::int64_t>(m_events.size()) - 1;
    return MakeResponse(200, json{{"user", {{"id", userId}, {"name", m_users.at(userId).name}}},
                                  {"cursor", std::to_string(newest)},
                                  {"projects", projects}}
                                 .dump());
}

HttpResponse FakeService::GetResource(std::int64_t id) const
{
    const auto file = m_files.find(id);
    if (file != m_files.end() && !file->second.isRemoved)
        return MakeResponse(200, FileJson(id));
    return m_inboxes.count(id) > 0 ? MakeResponse(200, InboxJson(id)) : Problem(404, "not-found");
}

HttpResponse FakeService::CreateInbox(const std::string& target, std::int64_t userId)
{
    for (const auto& [id, name] : m_projects) {
        if (target != impl::EncodePathSegment(name) + "/user-inbox")
            continue;
        for (const auto& [inboxId, inbox] : m_inboxes) {
            if (inbox.project == id && inbox.owner == userId)
                return MakeResponse(200, InboxJson(inboxId));
        }
        const std::int64_t inboxId = m_nextId++;
        m_inboxes[inboxId] = {id, userId};
        m_events.push_back(
            "event: inbox-added\ndata: {\"container\":{\"id\":" + std::to_string(id) +
            ",\"kind\":\"project\"},\"entry\":" + InboxJson(inboxId) + "}\n\n");
        m_changed.notify_all();
        return MakeResponse(201, InboxJson(inboxId));
    }
    return Problem(404, "not-found");
}

HttpResponse FakeService::GetContent(const SentRequest& sent, std::int64_t id) const
{
    const auto found = m_files.find(id);
    if (found == m_files.end() || found->second.isRemoved)
        return Problem(404, "not-found");
    const File& file = found->second;
    const std::string etag = '"' + file.sha256 + '"';
    if (sent.Header("If-Match") != etag)
        return Problem(412, "precondition-failed");
    const std::string range = sent.Header("Range");
    if (range.empty() || sent.Header("If-Range") != etag)
        return MakeResponse(200, file.content, {{"ETag", etag}});
    const std::size_t from = std::stoul(range.substr(6));
    if (from >= file.content.size())
        return Problem(416, "range-not-satisfiable");
    const std::string size = std::to_string(file.content.size());
    return MakeResponse(
        206, file.content.substr(from),
        {{"Content-Range", "bytes " + std::to_string(from) + "-" +
                               std::to_string(file.content.size() - 1) + "/" + size}});
}

HttpResponse FakeService::DeleteFile(const SentRequest& sent, std::int64_t id)
{
    const auto found = m_files.find(id);
    if (found == m_files.end() || found->second.isRemoved)
        return Problem(404, "not-found");
    const std::string wanted = sent.Header("If-Match");
    if (!wanted.empty() && wanted != '"' + found->second.sha256 + '"')
        return Problem(412, "precondition-failed");
    found->second.isRemoved = true;
    AddEvent("file-removed", found->second.inbox, FileJson(id));
    return MakeResponse(204);
}

HttpResponse FakeService::BeginUpload(const SentRequest& sent, bool isWhole)
{
    const std::string key = sent.Header("Idempotency-Key");
    const std::string metadata = sent.Header("Upload-Metadata");
    const std::int64_t length = std::stoll(sent.Header("Upload-Length"));
    for (auto& [id, upload] : m_uploads) {
        if (upload.key != key)
            continue;
        if (!upload.files.empty() && !HasAllFiles(upload))
            continue; // its file was removed, so this request begins a new upload
        if (sent.request.source && sent.request.source->LengthBytes() + length > 0 &&
            !sent.content.empty())
            return Problem(409, "conflict");
        if (upload.metadata != metadata || upload.length != length)
            return Problem(409, "conflict");
        const bool isRepeated = !upload.files.empty();
        HttpResponse state = UploadState(201, id);
        if (isRepeated)
            state.headers.push_back({"Kelvo-Repeated", "true"});
        return state;
    }
    std::istringstream targets(MetadataValue(metadata, "targets"));
    for (std::string target; std::getline(targets, target, ',');) {
        if (m_inboxes.count(std::stoll(target)) == 0)
            return Problem(404, "not-found");
    }
    const std::string id = "u" + std::to_string(++m_uploadCount);
    m_uploads[id] = {key, metadata, length, sent.content, {}};
    static_cast<void>(isWhole);
    return UploadState(201, id);
}

HttpResponse FakeService::HeadUpload(const std::string& id)
{
    if (m_uploads.count(id) == 0)
        return MakeResponse(404);
    return UploadState(200, id);
}

HttpResponse FakeService::ContinueUpload(const SentRequest& sent, const std::string& id, bool)
{
    const auto found = m_uploads.find(id);
    if (found == m_uploads.end())
        return Problem(404, "not-found");
    if (sent.Header("Upload-Offset") != std::to_string(found->second.content.size()))
        return Problem(409, "upload-offset-mismatch");
    found->second.content += sent.content;
    return UploadState(204, id);
}

HttpResponse FakeService::UploadState(int status, const std::string& id)
{
    Upload& upload = m_uploads[id];
    HttpResponse response =
        MakeResponse(status, {}, {{"Upload-Offset", std::to_string(upload.content.size())}});
    if (status == 201) // only the answer to POST names the upload
        response.headers.push_back({"Location", "/kelvo-api/v1/uploads/" + id});
    if (static_cast<std::int64_t>(upload.content.size()) != upload.length)
        return response;
    if (upload.files.empty()) {
        if (m_corruptsNextCommit && !upload.content.empty())
            upload.content[0] ^= 1;
        m_corruptsNextCommit = false;
        std::istringstream targets(MetadataValue(upload.metadata, "targets"));
        for (std::string target; std::getline(targets, target, ',');)
            upload.files.push_back(StoreFile(
                std::stoll(target), MetadataValue(upload.metadata, "name"), upload.content, true));
    }
    std::string ids;
    json files = json::array();
    for (const std::int64_t file : upload.files) {
        ids += (ids.empty() ? "" : ",") + std::to_string(file);
        files.push_back(json::parse(FileJson(file)));
    }
    response.headers.push_back({"Kelvo-File-Ids", ids});
    response.headers.push_back({"Repr-Digest", DigestOf(upload.content)});
    if (status == 201)
        response.body = json{{"files", files}, {"warnings", json::array()}}.dump();
    return response;
}

bool FakeService::HasAllFiles(const Upload& upload) const
{
    return std::none_of(upload.files.begin(), upload.files.end(),
                        [this](std::int64_t id) { return m_files.at(id).isRemoved; });
}

} // namespace kesdk::test
