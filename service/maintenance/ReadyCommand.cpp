// The command that asks a running service whether it can work now.
#include "service/DataFolder.h"
#include "service/base/Files.h"
#include "service/http/Listener.h"
#include "service/maintenance/MaintenanceCommands.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <sstream>

namespace kelvo::maintenance {

namespace {

using namespace std::chrono_literals;

constexpr auto deadline = 10s; // /readyz answers within two seconds
constexpr int notReady = 1;

http::HostPort monitorAddress(const std::filesystem::path& dataFolder)
{
    try {
        const auto document = nlohmann::json::parse(readFile(dataFolder / "endpoints.json"));
        return http::HostPort::parse(document.at("metrics").get<std::string>());
    } catch (const std::exception&) {
        throw StartRefused("no service announces itself in " +
                           (dataFolder / "endpoints.json").string());
    }
}

/** The service closes the connection of HTTP/1.0 after its answer. Empty if there is no answer. */
std::string ask(const http::HostPort& address)
{
    asio::ip::tcp::iostream stream;
    stream.expires_after(deadline);
    stream.connect(address.host, address.port);
    stream << "GET /readyz HTTP/1.0\r\nHost: localhost\r\n\r\n" << std::flush;
    std::ostringstream answer;
    answer << stream.rdbuf();
    return answer.str();
}

} // namespace

int runReady(const ReadyOptions& options)
{
    const std::string answer = ask(monitorAddress(options.dataFolder));
    const std::size_t head = answer.find("\r\n\r\n");
    const std::size_t space = answer.find(' ');
    if (head == std::string::npos || space > head) {
        throw StartRefused("the service does not answer");
    }
    std::cout << answer.substr(head + 4) << "\n";
    return answer.compare(space + 1, 3, "200") == 0 ? 0 : notReady;
}

} // namespace kelvo::maintenance
