#include "host/files/TTracedUnzip.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <iterator>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Exit codes that no other end of the process has.
constexpr int returnedTrue = 40;
constexpr int returnedFalse = 41;

// From now on renameat2() with flags fails like on a file system that does not know the flags.
bool AllowOnlyPlainRenames()
{
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[4])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter = {std::size(program), program};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

constexpr std::size_t errorTextBytes = 4096;

char* SharedMemory()
{
    void* const memory =
        ::mmap(nullptr, errorTextBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<char*>(memory);
}

[[noreturn]] void UnzipTraced(const kelvo::test::TUnzipFixture& fixture,
                              kelvo::test::ERenames renames, char* sharedText)
{
    if (renames == kelvo::test::ERenames::eOnlyPlain && !AllowOnlyPlainRenames()) {
        ::_exit(1);
    }
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
        ::_exit(1);
    }
    ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO); // hides a sanitizer's messages
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    ::raise(SIGSTOP);
    QString errorText;
    const bool result = hostimpl::Unzip(fixture.Archive(), fixture.Destination(), {}, errorText);
    qstrncpy(sharedText, errorText.toUtf8().constData(), errorTextBytes);
    ::_exit(result ? returnedTrue : returnedFalse);
}

#ifdef __x86_64__
constexpr bool hasRegisters = true;

bool RenamesOrSyncs(pid_t process)
{
    user_regs_struct registers = {};
    ::ptrace(PTRACE_GETREGS, process, nullptr, &registers);
    const auto number = static_cast<long>(registers.orig_rax);
    return number == SYS_renameat || number == SYS_renameat2 || number == SYS_fsync;
}

void SkipCall(pid_t process)
{
    user_regs_struct registers = {};
    ::ptrace(PTRACE_GETREGS, process, nullptr, &registers);
    registers.orig_rax = ~0ULL; // an invalid call number
    ::ptrace(PTRACE_SETREGS, process, nullptr, &registers);
}

void SetResult(pid_t process, int result)
{
    user_regs_struct registers = {};
    ::ptrace(PTRACE_GETREGS, process, nullptr, &registers);
    registers.rax = static_cast<unsigned long long>(result);
    ::ptrace(PTRACE_SETREGS, process, nullptr, &registers);
}
#else
constexpr bool hasRegisters = false;

bool RenamesOrSyncs(pid_t)
{
    return false;
}

void SkipCall(pid_t) {}

void SetResult(pid_t, int) {}
#endif

} // namespace

namespace kelvo::test {

TTracedUnzip::TTracedUnzip(const TUnzipFixture& fixture, ERenames renames)
    : m_errorText(SharedMemory()), m_child(m_errorText == nullptr ? -1 : ::fork())
{
    if (m_child == 0) {
        UnzipTraced(fixture, renames, m_errorText);
    }
    m_isRunning = m_child > 0 && WaitForStop();
    m_isTraced = m_isRunning;
}

TTracedUnzip::~TTracedUnzip()
{
    Kill();
    if (m_errorText != nullptr) {
        ::munmap(m_errorText, errorTextBytes);
    }
}

bool TTracedUnzip::CanFailCalls()
{
    return hasRegisters;
}

bool TTracedUnzip::RunTo(int call)
{
    // The process stops before and after each call.
    for (int stop = 0; m_isRunning && stop < 2 * call - 1; ++stop) {
        ::ptrace(PTRACE_SYSCALL, m_child, nullptr, nullptr);
        m_isRunning = WaitForStop();
    }
    return m_isRunning;
}

void TTracedUnzip::Kill()
{
    if (m_isRunning) {
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
        m_isRunning = false;
    }
}

bool TTracedUnzip::IsRenameOrSync() const
{
    return m_isRunning && RenamesOrSyncs(m_child);
}

QString TTracedUnzip::ErrorText() const
{
    return QString::fromUtf8(m_errorText);
}

bool TTracedUnzip::FailCall(int error)
{
    SkipCall(m_child);
    ::ptrace(PTRACE_SYSCALL, m_child, nullptr, nullptr);
    m_isRunning = WaitForStop();
    if (m_isRunning) {
        SetResult(m_child, -error);
    }
    return m_isRunning;
}

std::optional<bool> TTracedUnzip::FailCallAndFinish(int error)
{
    if (FailCall(error)) {
        ::ptrace(PTRACE_CONT, m_child, nullptr, nullptr);
        m_isRunning = WaitForStop();
    }
    if (m_isRunning) { // stopped by the signal of a crash, such as a lack of memory
        Kill();
        return std::nullopt;
    }
    const int code = WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
    return code == returnedTrue || code == returnedFalse ? std::optional<bool>(code == returnedTrue)
                                                         : std::nullopt;
}

bool TTracedUnzip::WaitForStop()
{
    return ::waitpid(m_child, &m_status, 0) == m_child && WIFSTOPPED(m_status);
}

} // namespace kelvo::test
