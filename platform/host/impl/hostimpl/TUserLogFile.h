// The user log as files of limited size.
#pragma once

#include "host/UserLogAccessor.h"

#include <QtCore/QMutex>

#include <cstdint>

namespace hostimpl {

struct TUserLogLimits
{
    std::int64_t fileSizeBytes = std::int64_t{1024} * 1024; // a full file is renamed to FILE.1
    int files = 4;                                          // including the current file
    int messageChars = 4096; // the rest of a longer message is cut off
};

// An entry is one line: UTC time, target, category, level, code, message. Control characters are
// written as escape sequences. Files are readable for their owner only. FILE is the newest file,
// FILE.1 is older, FILE.2 is older still, and so on.
//
// From any thread. Blocking, but without a sync of the disk. Errors: an entry that cannot be
// written is dropped, and the application's log gets one warning until writing succeeds again. A
// line is never written in part.
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
