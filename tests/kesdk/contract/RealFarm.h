// A farm on the real service, with an operator and with an office that changes files.
#pragma once

#include "contract/ServiceProcess.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace kesdk::test {

// The service that the tests of one program share.
ServiceProcess& SharedService();

// Errors: throws std::runtime_error when the service's answer is not the expected one.
class RealFarm
{
public:
    static constexpr const wchar_t* kPassword = L"correct horse";

    RealFarm();

    std::wstring UserName() const;
    std::int64_t PutFile(std::int64_t inboxId, const std::wstring& name,
                         const std::string& content) const;
    void RemoveFile(std::int64_t fileId) const;
    std::string Content(std::int64_t fileId) const;
    // Changes the password, so that the service ends the user's sessions.
    void EndSessions() const;

private:
    static nlohmann::json Ask(const ApiSession& session, const std::string& method,
                              const std::string& target, const nlohmann::json& body, long status);
    std::int64_t MakeUser(const std::string& name, const std::string& password,
                          const std::string& role) const;
    ApiSession MakeOffice();

    static inline int s_count = 0;

    const std::string m_name = std::to_string(++s_count);
    std::int64_t m_userId = 0;
    ApiSession m_admin;
    ApiSession m_office;
};

} // namespace kesdk::test
