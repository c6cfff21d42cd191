// Simulates a full disk: files cannot grow beyond a size.
#pragma once

#include <csignal>

#include <sys/resource.h>

namespace kelvo::test {

// Limits the whole process during the object's lifetime. Main thread.
class TFileSizeLimit
{
public:
    explicit TFileSizeLimit(rlim_t bytes)
    {
        m_isSet = ::getrlimit(RLIMIT_FSIZE, &m_former) == 0;
        m_formerHandler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {bytes, m_former.rlim_max};
        m_isSet = m_isSet && ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~TFileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_former);
        std::signal(SIGXFSZ, m_formerHandler);
    }
    TFileSizeLimit(const TFileSizeLimit&) = delete;
    TFileSizeLimit& operator=(const TFileSizeLimit&) = delete;

    bool IsSet() const { return m_isSet; }

private:
    rlimit m_former = {};
    void (*m_formerHandler)(int) = SIG_DFL;
    bool m_isSet = false;
};

} // namespace kelvo::test
