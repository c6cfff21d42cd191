// The service side of the contract suite: a farm, and other people's changes in it.
#pragma once

#include "kesdk/api/IEnterpriseConnection.h"

#include <cstdint>
#include <memory>
#include <string>

namespace kesdk::test {

// A farm with the seven projects and one operator, who has no inbox yet. Each test gets a new farm.
class Backend
{
public:
    static constexpr const wchar_t* kUser = L"olga";
    static constexpr const wchar_t* kPassword = L"correct horse";

    virtual ~Backend() = default;

    virtual std::unique_ptr<api::IEnterpriseConnection> MakeConnection() = 0;
    // The operator's name. A backend that keeps its users for several tests makes the name unique.
    virtual std::wstring UserName() const { return kUser; }

    // Stores a file for another user. Returns the file's id, or 0 on an error.
    virtual std::int64_t PutFile(std::int64_t inboxId, const std::wstring& name,
                                 const std::string& content) = 0;
    virtual void RemoveFile(std::int64_t fileId) = 0;
    // The content of a file on the service.
    virtual std::string Content(std::int64_t fileId) = 0;

    // The service ends the operator's session.
    virtual void EndSession() = 0;
    // A login that begins after HoldLogins stays in progress until ReleaseLogins.
    virtual void HoldLogins() = 0;
    virtual void ReleaseLogins() = 0;
};

using BackendFactory = std::unique_ptr<Backend> (*)();

} // namespace kesdk::test
