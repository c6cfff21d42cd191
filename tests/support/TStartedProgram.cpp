#include "support/TStartedProgram.h"

#include <QtCore/QFile>
#include <QtCore/QVector>

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The actions of posix_spawnp() between fork and exec. The destructor frees them.
class SpawnActions
{
public:
    SpawnActions(int output, const QByteArray& folder)
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, output, STDERR_FILENO);
        if (!folder.isEmpty()) {
            posix_spawn_file_actions_addchdir_np(&m_actions, folder.constData());
        }
    }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&m_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    const posix_spawn_file_actions_t* Get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions = {};
};

} // namespace

namespace kelvo::test {

TStartedProgram::TStartedProgram(const QString& program, const QStringList& arguments,
                                 const QString& folder)
{
    QVector<QByteArray> words = {QFile::encodeName(program)};
    for (const QString& argument : arguments) {
        words.append(QFile::encodeName(argument));
    }
    QVector<char*> pointers;
    for (QByteArray& word : words) {
        pointers.append(word.data());
    }
    pointers.append(nullptr);

    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    const SpawnActions actions(ends[1], QFile::encodeName(folder));
    pid_t pid = -1;
    if (::posix_spawnp(&pid, pointers[0], actions.Get(), nullptr, pointers.data(), environ) == 0) {
        m_pid = pid;
    }
    ::close(ends[1]);
    m_output = ends[0];
}

TStartedProgram::~TStartedProgram()
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ExitCode();
    }
    if (m_output >= 0) {
        ::close(m_output);
    }
}

QByteArray TStartedProgram::ReadOutput()
{
    QByteArray all;
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(m_output, buffer, sizeof(buffer));
        if (count > 0) {
            all.append(buffer, static_cast<int>(count));
        } else if (count == 0 || errno != EINTR) {
            return all;
        }
    }
}

int TStartedProgram::ExitCode()
{
    int status = 0;
    pid_t ended = -1;
    while (m_pid > 0 && ended < 0) {
        ended = ::waitpid(m_pid, &status, 0);
        if (ended < 0 && errno != EINTR) {
            break;
        }
    }
    m_pid = -1;
    return ended > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace kelvo::test
