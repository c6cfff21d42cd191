#include "contract/ServiceProcess.h"

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

extern char** environ;

namespace kesdk::test {

namespace {

std::string ReadLine(int descriptor)
{
    std::string line;
    for (char byte = 0; ::read(descriptor, &byte, 1) == 1 && byte != '\n';)
        line += byte;
    return line;
}

// The host and port in "... https://HOST:PORT, ...".
std::string EndpointIn(const std::string& line)
{
    const std::string scheme = "https://";
    const std::size_t at = line.find(scheme);
    if (at == std::string::npos)
        throw std::runtime_error("kelvo-service did not start: " + line);
    const std::size_t begin = at + scheme.size();
    return line.substr(begin, line.find(',', begin) - begin);
}

std::size_t Append(char* bytes, std::size_t size, std::size_t count, void* text)
{
    static_cast<std::string*>(text)->append(bytes, size * count);
    return size * count;
}

} // namespace

ServiceProcess::ServiceProcess(const std::string& binary) : m_binary(binary)
{
    Start("127.0.0.1:0");
}

void ServiceProcess::Start(const std::string& listen)
{
    std::array<int, 2> output{};
    if (::pipe2(output.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    const std::string log = m_folder.Path("service.log");
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, log.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    std::vector<std::string> words = {
        m_binary,          "serve", "--data",           m_folder.Path("data"),
        "--listen",        listen,  "--metrics-listen", "127.0.0.1:0",
        "--password-cost", "min"};
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int error =
        ::posix_spawn(&m_pid, m_binary.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(output[1]);
    const std::string line = error == 0 ? ReadLine(output[0]) : std::string();
    ::close(output[0]);
    m_endpoint = EndpointIn(line);
}

ServiceProcess::~ServiceProcess()
{
    ::kill(m_pid, SIGCONT);
    ::kill(m_pid, SIGTERM);
    ::waitpid(m_pid, nullptr, 0);
}

std::string ServiceProcess::AdminPassword() const
{
    std::string password = m_folder.Read("data/admin.password");
    while (!password.empty() && password.back() == '\n')
        password.pop_back();
    return password;
}

void ServiceProcess::Freeze()
{
    ::kill(m_pid, SIGSTOP);
    ::waitpid(m_pid, nullptr, WUNTRACED); // it has stopped
}

void ServiceProcess::Thaw()
{
    ::kill(m_pid, SIGCONT);
}

void ServiceProcess::KillAndStart()
{
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
    Start(m_endpoint);
}

ApiSession::ApiSession(const ServiceProcess& service, const std::string& user,
                       const std::string& password)
    : m_url(service.Url() + "/v1"), m_authorityFile(service.AuthorityFile())
{
    const ApiAnswer answer =
        Send("POST", "/sessions", nlohmann::json{{"user", user}, {"password", password}}.dump(),
             {"Content-Type: application/json"});
    if (answer.status != 201)
        throw std::runtime_error("no session: " + answer.body);
    m_token = nlohmann::json::parse(answer.body).at("token").get<std::string>();
}

ApiAnswer ApiSession::Send(const std::string& method, const std::string& target,
                           const std::string& body, const std::vector<std::string>& headers) const
{
    CURL* easy = curl_easy_init();
    curl_slist* list = nullptr;
    for (const std::string& header : headers)
        list = curl_slist_append(list, header.c_str());
    if (!m_token.empty())
        list = curl_slist_append(list, ("Authorization: Bearer " + m_token).c_str());
    ApiAnswer answer;
    curl_easy_setopt(easy, CURLOPT_URL, (m_url + target).c_str());
    curl_easy_setopt(easy, CURLOPT_CAINFO, m_authorityFile.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, list);
    if (!body.empty() || method == "POST" || method == "PATCH") {
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.c_str());
    }
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, method.c_str());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Append);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &answer.body);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT, 30L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    if (curl_easy_perform(easy) == CURLE_OK)
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &answer.status);
    curl_slist_free_all(list);
    curl_easy_cleanup(easy);
    return answer;
}

} // namespace kesdk::test
