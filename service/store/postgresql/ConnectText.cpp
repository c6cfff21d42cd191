#include "service/store/postgresql/ConnectText.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>

#include <postgresql/libpq-fe.h>

namespace kelvo::store {

namespace {

constexpr const char* debianAuthorities = "/etc/ssl/certs/ca-certificates.crt";

struct FreeOptions
{
    void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};

std::map<std::string, std::string> parse(const std::string& url)
{
    char* message = nullptr;
    const std::unique_ptr<PQconninfoOption, FreeOptions> options(
        PQconninfoParse(url.c_str(), &message));
    PQfreemem(message); // it may have the password
    if (!options) {
        throw std::runtime_error("cannot read the database's URL: give"
                                 " postgresql://HOST/DATABASE?PARAMETERS");
    }
    std::map<std::string, std::string> values;
    for (const PQconninfoOption* option = options.get(); option->keyword != nullptr; ++option) {
        if (option->val != nullptr) {
            values[option->keyword] = option->val;
        }
    }
    return values;
}

std::string quoted(const std::string& value)
{
    std::string text = "'";
    for (const char letter : value) {
        if (letter == '\'' || letter == '\\') {
            text += '\\';
        }
        text += letter;
    }
    return text + "'";
}

} // namespace

std::string connectText(const std::string& url)
{
    auto values = parse(url);
    for (const char* secret : {"password", "sslpassword"}) {
        if (values.contains(secret)) {
            throw std::runtime_error("the database's URL must not have a password, because other"
                                     " users of this machine can read it: put the password into the"
                                     " file that PGPASSFILE names, or into PGPASSWORD");
        }
    }
    constexpr const char* mode = "verify-full"; // libpq ignores it on a Unix socket
    if (values.contains("sslmode") && values["sslmode"] != mode) {
        throw std::runtime_error("the database's URL must not lower sslmode: the service verifies"
                                 " the server's certificate, or uses a Unix socket");
    }
    values["sslmode"] = mode;
    values["gssencmode"] = "disable";
    values["target_session_attrs"] = "read-write";
    const std::pair<const char*, const char*> defaults[] = {
        {"application_name", "kelvo-service"},
        {"connect_timeout", "5"},
        {"keepalives_idle", "5"},
        {"keepalives_interval", "3"},
        {"keepalives_count", "3"},
        {"tcp_user_timeout", "15000"},
    };
    for (const auto& [name, value] : defaults) {
        values.try_emplace(name, value);
    }
    if (std::getenv("PGSSLROOTCERT") == nullptr && std::filesystem::exists(debianAuthorities)) {
        values.try_emplace("sslrootcert", debianAuthorities);
    }
    std::string text;
    for (const auto& [name, value] : values) {
        text += name + "=" + quoted(value) + " ";
    }
    return text;
}

} // namespace kelvo::store
