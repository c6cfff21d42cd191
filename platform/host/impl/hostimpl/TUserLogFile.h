// The user log as a file that is kept from growing.
#pragma once

#include "host/UserLogAccessor.h"

#include <QtCore/QMutex>

#include <cstdint>

namespace hostimpl {

struct TUserLogLimits
{
    std::int64_t fileSizeBytes =
        std::int64_t{1024} * 1024; // a file that would grow beyond it is put aside
    int files = 4;                 // with the one being written
    int messageChars = 4096;       // the rest of a longer message is cut off
};

// One line an entry: UTC time, target, category, level, code, message. What would break a line is
// written as an escape sequence. Files are readable for their owner only; FILE is the newest, then
// come FILE.1, FILE.2 and so on.
//
// From any thread; blocking, but not on the disk's cache. Errors: what cannot be written is dropped
// and said once in the application's log; a line is never written in part.
class CONSOLEHOST_EXPORT TUserLogFile final : public UserLogAccessor
{
public:
    explicit TUserLogFile(const QString& path, const TUserLogLimits& limits = {});
    ~TUserLogFile() override;

    void Write(int target, int category, int level, const QString& code,
               const QString& message) override;

private:
    void Rotate();
    void ReportFailure();

    const QString m_path;
    const TUserLogLimits m_limits;
    QMutex m_mutex; // guards the files and m_isFailing
    bool m_isFailing = false;
};

} // namespace hostimpl
