// How a command fails: each kind of failure is an exit code that scripts can rely on.
#pragma once

#include <stdexcept>
#include <string>

namespace kelvoctl {

enum class ExitCode : int {
    Ok = 0,
    Refused = 1,     // The service said no, or does not have what was named.
    Usage = 2,       // The command, or a local file it names, will not do.
    Unreachable = 3, // The service cannot be reached, or what it sent cannot be verified.
};

// Base of all failures; what() is the sentence for the person at the terminal.
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
    // The HTTP status; 0 when the refusal was concluded from a listing.
    long status() const { return m_status; }

private:
    long m_status;
};

class UsageError : public Failure
{
public:
    explicit UsageError(const std::string& text) : Failure(ExitCode::Usage, text) {}
};

class Unreachable : public Failure
{
public:
    Unreachable(const std::string& text, bool mayHeal)
        : Failure(ExitCode::Unreachable, text), m_mayHeal(mayHeal)
    {}
    // Whether trying again can help: true for a cut or refused connection, false for a certificate.
    bool mayHeal() const { return m_mayHeal; }

private:
    bool m_mayHeal;
};

} // namespace kelvoctl
