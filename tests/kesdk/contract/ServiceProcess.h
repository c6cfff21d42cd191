// A kelvo-service process for a test, and a client of its API that does not use the SDK.
#pragma once

#include "tests/support/TempFolder.h"

#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

namespace kesdk::test {

class ServiceProcess
{
public:
    // Returns when the service listens. Throws when it does not start.
    explicit ServiceProcess(const std::string& binary);
    ~ServiceProcess();
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    std::string Url() const { return "https://" + m_endpoint + "/kelvo-api"; }
    int Port() const { return std::stoi(m_endpoint.substr(m_endpoint.rfind(':') + 1)); }
    std::string AuthorityFile() const { return m_folder.Path("data/ca.pem"); }
    std::string AdminPassword() const;

    // While the service is frozen, the kernel accepts connections and no request is answered.
    void Freeze();
    void Thaw();
    // Kills the process, as a power cut would, and starts it again with the same port and data.
    void KillAndStart();

private:
    void Start(const std::string& listen);

    const std::string m_binary;
    kelvo::test::TempFolder m_folder;
    pid_t m_pid = 0;
    std::string m_endpoint;
};

struct ApiAnswer
{
    long status = 0;
    std::string body;
};

// Sends requests of a logged-in user, each over its own connection.
class ApiSession
{
public:
    ApiSession(const ServiceProcess& service, const std::string& user, const std::string& password);

    ApiAnswer Send(const std::string& method, const std::string& target, const std::string& body,
                   const std::vector<std::string>& headers = {}) const;

private:
    std::string m_url;
    std::string m_authorityFile;
    std::string m_token;
};

} // namespace kesdk::test
