// A program that a test starts.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <sys/types.h>

namespace kelvo::test {

/**
 * A running program with both its outputs in one pipe. It does not use QProcess. In an emulator
 * QProcess does not learn when and how a program has ended, and may kill another process because of
 * a wrong process id. Thread: one. Ownership: the destructor kills a running program. It blocks
 * without a time limit: the test runner has a time limit.
 */
class TStartedProgram
{
public:
    /** `program` is a path, or a name that PATH finds. An empty `folder` is the current folder. */
    explicit TStartedProgram(const QString& program, const QStringList& arguments,
                             const QString& folder = {});
    ~TStartedProgram();
    TStartedProgram(const TStartedProgram&) = delete;
    TStartedProgram& operator=(const TStartedProgram&) = delete;

    /** In an emulator also true if the program does not exist. Its exit code is 127 then. */
    bool IsStarted() const { return m_pid > 0; }
    pid_t Pid() const { return m_pid; }

    /** The whole output of the program until its end. */
    QByteArray ReadOutput();

    /** Waits for its end. -1 if a signal ended it, or if it did not start. */
    int ExitCode();

private:
    pid_t m_pid = -1; // 0 or less if no program runs
    int m_output = -1;
};

} // namespace kelvo::test
