// A plug-in that breaks the rule of test_load.py. On the main thread it opens a file while it is
// loaded, and a file and a socket in Initialise.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

void ReadFile(const char* path)
{
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    if (file >= 0)
        ::close(file);
}

const bool isRead = (ReadFile("/etc/hostname"), true);

} // namespace

extern "C" {
__attribute__((visibility("default"))) void Initialise(void*, const void*, const void*, const void*,
                                                       const void*)
{
    ReadFile("/etc/hosts");
    const int line = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (line >= 0)
        ::close(line);
}

__attribute__((visibility("default"))) void Finalise() {}

__attribute__((visibility("default"))) void* GetKelvoInterface()
{
    return nullptr;
}

__attribute__((visibility("default"))) bool IsRead()
{
    return isRead;
}
}
