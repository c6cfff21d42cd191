// Gives an environment variable another value until the end of the scope.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

#include <stdlib.h>

namespace kelvo::test {

// Thread safety: none. No other thread may read or change the environment meanwhile.
class Variable
{
public:
    Variable(const char* name, const std::string& value) : m_name(name)
    {
        if (const char* before = std::getenv(name))
            m_before = before;
        ::setenv(name, value.c_str(), 1);
    }
    ~Variable()
    {
        if (m_before)
            ::setenv(m_name, m_before->c_str(), 1);
        else
            ::unsetenv(m_name);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
    std::optional<std::string> m_before;
};

} // namespace kelvo::test
