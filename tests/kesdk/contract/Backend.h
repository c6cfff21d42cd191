// What the contract suite needs beside the connection: a farm at the far end, and hands in it.
#pragma once

#include "kesdk/api/IEnterpriseConnection.h"

#include <cstdint>
#include <memory>
#include <string>

namespace kesdk::test {

// A farm with the seven projects and one operator, who has no inbox yet. Fresh for each test.
class Backend
{
public:
    static constexpr const wchar_t* kUser = L"olga";
    static constexpr const wchar_t* kPassword = L"correct horse";

    virtual ~Backend() = default;

    virtual std::unique_ptr<api::IEnterpriseConnection> MakeConnection() = 0;
    // The operator's name, which a backend that keeps its users over several tests makes unique.
    virtual std::wstring UserName() const { return kUser; }

    // By somebody else. The file's id; 0 when it went wrong.
    virtual std::int64_t PutFile(std::int64_t inboxId, const std::wstring& name,
                                 const std::string& content) = 0;
    virtual void RemoveFile(std::int64_t fileId) = 0;
    // Of a file on the service.
    virtual std::string Content(std::int64_t fileId) = 0;

    // The operator's session ends without the console's doing.
    virtual void EndSession() = 0;
    // A login that is begun from now on stays in flight until it is released.
    virtual void HoldLogins() = 0;
    virtual void ReleaseLogins() = 0;
};

using BackendFactory = std::unique_ptr<Backend> (*)();

} // namespace kesdk::test
