// Lets tests of read-only folders run as root.
#pragma once

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

// During the object's lifetime the calling thread may do only what file modes allow, even as root.
class TBoundByModes
{
public:
    TBoundByModes()
    {
        if (!Call(SYS_capget))
            return;
        m_was = m_data[0];
        m_data[0].effective &= ~(1U << CAP_DAC_OVERRIDE);
        m_isBound = Call(SYS_capset);
    }
    ~TBoundByModes()
    {
        m_data[0] = m_was;
        if (m_isBound)
            Call(SYS_capset);
    }
    TBoundByModes(const TBoundByModes&) = delete;
    TBoundByModes& operator=(const TBoundByModes&) = delete;

    bool IsBound() const { return m_isBound; }

private:
    bool Call(long number) { return ::syscall(number, &m_header, m_data) == 0; }

    __user_cap_header_struct m_header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct m_data[_LINUX_CAPABILITY_U32S_3] = {};
    __user_cap_data_struct m_was = {};
    bool m_isBound = false;
};
