// Another program, started by a test.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <sys/types.h>

namespace kelvo::test {

/**
 * A running program with both its outputs in one pipe. Not QProcess: in an emulator that learns
 * neither when a program has ended nor how, and then kills whatever its broken process id stands
 * for. Threads: one. Ownership: a program that still runs at the end is killed. Blocks without a
 * bound, as whoever runs the test has one.
 */
class TStartedProgram
{
public:
    /** `program` is a path or found by PATH; an empty `folder` is the current one. */
    explicit TStartedProgram(const QString& program, const QStringList& arguments,
                             const QString& folder = {});
    ~TStartedProgram();
    TStartedProgram(const TStartedProgram&) = delete;
    TStartedProgram& operator=(const TStartedProgram&) = delete;

    /** In an emulator also of a program that does not exist: its exit code is 127 then. */
    bool IsStarted() const { return m_pid > 0; }
    pid_t Pid() const { return m_pid; }

    /** All that it says until its end. */
    QByteArray ReadOutput();

    /** Waits for its end. -1 if a signal ended it, or if it did not start. */
    int ExitCode();

private:
    pid_t m_pid = -1; // not above 0 when there is none, or none any more
    int m_output = -1;
};

} // namespace kelvo::test
