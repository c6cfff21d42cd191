#include "service/kelvoctl/PasswordPrompt.h"

#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/LocalFiles.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <utility>

namespace kelvoctl {
namespace {

std::string fromFile(const std::string& file)
{
    std::ifstream stream(file);
    std::string line;
    if (!stream || !std::getline(stream, line)) {
        throw UsageError("Cannot read a password from " + file + ".");
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

// The destructor restores the echo in any case.
class NoEcho
{
public:
    explicit NoEcho(int terminal) : m_terminal(terminal)
    {
        m_known = ::tcgetattr(terminal, &m_before) == 0;
        termios silent = m_before;
        silent.c_lflag &= static_cast<tcflag_t>(~static_cast<tcflag_t>(ECHO));
        if (m_known) {
            ::tcsetattr(terminal, TCSAFLUSH, &silent);
        }
    }
    ~NoEcho()
    {
        if (m_known) {
            ::tcsetattr(m_terminal, TCSAFLUSH, &m_before);
        }
    }
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;

private:
    int m_terminal;
    bool m_known = false;
    termios m_before = {};
};

std::string fromTerminal(const char* variable, const std::string& prompt)
{
    const kelvo::FileDescriptor terminal(::open("/dev/tty", O_RDWR | O_CLOEXEC));
    if (!terminal) {
        throw UsageError(
            "There is no terminal for a password prompt: give a password file or set " +
            std::string(variable) + ".");
    }
    writeLocalFile(terminal, prompt, "/dev/tty");
    std::string line;
    {
        const NoEcho silence(terminal.get());
        char character = 0;
        while (::read(terminal.get(), &character, 1) == 1 && character != '\n') {
            line += character;
        }
    }
    writeLocalFile(terminal, "\n", "/dev/tty");
    return line;
}

} // namespace

std::string readPassword(const std::string& file, const char* variable, const std::string& prompt)
{
    const char* fromEnvironment = std::getenv(variable);
    std::string password = !file.empty()                ? fromFile(file)
                           : fromEnvironment != nullptr ? std::string(fromEnvironment)
                                                        : fromTerminal(variable, prompt);
    if (password.empty()) {
        throw UsageError("The password is empty.");
    }
    return password;
}

} // namespace kelvoctl
