// The failures of a command. Each kind has an exit code for scripts.
#pragma once

#include <stdexcept>
#include <string>

namespace kelvoctl {

enum class ExitCode : int {
    Ok = 0,
    Refused = 1,     // the service refused, or has no such object
    Usage = 2,       // wrong arguments, such as a local file that does not exist
    Unreachable = 3, // the service cannot be reached, or its answer cannot be verified
    Local = 4,       // a failure on this machine, such as a full disk
};

// Base of all failures; what() is the message for the user.
class Failure : public std::runtime_error
{
public:
    Failure(ExitCode code, const std::string& text) : std::runtime_error(text), m_code(code) {}
    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

class Refused : public Failure
{
public:
    Refused(long status, const std::string& title, const std::string& detail)
        : Failure(ExitCode::Refused, detail.empty() ? title : title + ": " + detail),
          m_status(status)
    {}
    // The HTTP status; 0 if the tool itself found the refusal in a list.
    long status() const { return m_status; }

private:
    long m_status;
};

class UsageError : public Failure
{
public:
    explicit UsageError(const std::string& text) : Failure(ExitCode::Usage, text) {}
};

class LocalFailure : public Failure
{
public:
    explicit LocalFailure(const std::string& text) : Failure(ExitCode::Local, text) {}
};

class Unreachable : public Failure
{
public:
    Unreachable(const std::string& text, bool isRetryable)
        : Failure(ExitCode::Unreachable, text), m_isRetryable(isRetryable)
    {}
    // Whether a retry can succeed: true for a cut or refused connection, false for a wrong
    // certificate.
    bool isRetryable() const { return m_isRetryable; }

private:
    bool m_isRetryable;
};

} // namespace kelvoctl
