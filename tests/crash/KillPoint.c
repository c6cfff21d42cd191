// Preloaded into a program: kills the program just before or just after a chosen call that changes files. The
// instruction is in the file that KELVO_KILL_POINT names; kelvocrash/killpoint.py writes it.
#define _GNU_SOURCE
#undef _FILE_OFFSET_BITS // otherwise open() and open64() would be one function here
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

enum Kind { CREATE = 1, WRITE = 2, SYNC = 4, RENAME = 8, REMOVE = 16 };

// The layout is also in kelvocrash/killpoint.py.
struct Instruction {
    uint32_t is_loaded; // written here
    uint32_t is_taken;  // written here, before the kill
    uint32_t is_armed;
    int32_t calls_left; // matching calls up to the kill
    uint32_t kinds;
    uint32_t is_after;
    uint32_t refuses_flags; // renameat2 knows no flags, as on some file systems
    char root[512];         // a path must contain both texts
    char path[128];
    char last[512]; // written here: the call of the kill
};

struct Call {
    bool is_hit;
    char text[1024];
};

static struct Instruction* instruction;

__attribute__((constructor)) static void load(void)
{
    const char* path = getenv("KELVO_KILL_POINT");
    const int file = path ? open(path, O_RDWR | O_CLOEXEC) : -1;
    void* memory =
        file < 0 ? MAP_FAILED : mmap(NULL, sizeof *instruction, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) {
        fputs("KillPoint: no instruction in KELVO_KILL_POINT\n", stderr);
        abort();
    }
    close(file);
    instruction = memory;
    instruction->is_loaded = 1;
}

static void die(const struct Call* call)
{
    snprintf(instruction->last, sizeof instruction->last, "%.500s", call->text);
    __atomic_store_n(&instruction->is_taken, 1, __ATOMIC_RELEASE);
    kill(getpid(), SIGKILL);
    for (;;)
        pause();
}

static bool is_armed(enum Kind kind)
{
    return instruction && __atomic_load_n(&instruction->is_armed, __ATOMIC_ACQUIRE) && (instruction->kinds & kind);
}

static void add(struct Call* call, const char* text)
{
    strncat(call->text, text, sizeof call->text - strlen(call->text) - 1);
}

static void add_file(struct Call* call, int file)
{
    char link[64], path[512];
    snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const ssize_t size = readlink(link, path, sizeof path - 1);
    path[size < 0 ? 0 : size] = '\0';
    add(call, " ");
    add(call, path);
}

static void add_path(struct Call* call, int folder, const char* path)
{
    if (path[0] == '/' || folder == AT_FDCWD) {
        add(call, " ");
    } else {
        add_file(call, folder);
        add(call, "/");
    }
    add(call, path);
}

static void begin(struct Call* call)
{
    if (!strstr(call->text, instruction->root) || !strstr(call->text, instruction->path))
        return;
    call->is_hit = __atomic_sub_fetch(&instruction->calls_left, 1, __ATOMIC_ACQ_REL) == 0;
    if (call->is_hit && !instruction->is_after)
        die(call);
}

#define FIND_NEXT(name)                                                                                                \
    if (!next)                                                                                                         \
    next = (__typeof__(next))dlsym(RTLD_NEXT, #name)

// Defines the function `name` around the next function of this name. `describe` adds its paths to the call's text.
#define AROUND(kind, type, name, parameters, arguments, describe)                                                      \
    type name parameters                                                                                               \
    {                                                                                                                  \
        static type(*next) parameters;                                                                                 \
        struct Call call = {false, #name};                                                                             \
        if (is_armed(kind)) {                                                                                          \
            describe;                                                                                                  \
            begin(&call);                                                                                              \
        }                                                                                                              \
        FIND_NEXT(name);                                                                                               \
        const type result = next arguments;                                                                      \
        if (call.is_hit)                                                                                               \
            die(&call);                                                                                                \
        return result;                                                                                                 \
    }

#define AROUND_OPEN(name, first_parameter, first_argument, folder)                                                     \
    int name(first_parameter const char* path, int flags, ...)                                                         \
    {                                                                                                                  \
        static int (*next)(first_parameter const char*, int, ...);                                                     \
        va_list rest;                                                                                                  \
        va_start(rest, flags);                                                                                         \
        const mode_t mode = flags & (O_CREAT | __O_TMPFILE) ? va_arg(rest, mode_t) : 0;                                \
        va_end(rest);                                                                                                  \
        struct Call call = {false, #name};                                                                             \
        if ((flags & O_CREAT) && is_armed(CREATE)) {                                                                   \
            add_path(&call, folder, path);                                                                             \
            begin(&call);                                                                                              \
        }                                                                                                              \
        FIND_NEXT(name);                                                                                               \
        const int result = next(first_argument path, flags, mode);                                               \
        if (call.is_hit)                                                                                               \
            die(&call);                                                                                                \
        return result;                                                                                                 \
    }

#define NOTHING
#define FOLDER_PARAMETER int folder,
#define FOLDER_ARGUMENT folder,

AROUND_OPEN(open, NOTHING, NOTHING, AT_FDCWD)
AROUND_OPEN(open64, NOTHING, NOTHING, AT_FDCWD)
AROUND_OPEN(openat, FOLDER_PARAMETER, FOLDER_ARGUMENT, folder)
AROUND_OPEN(openat64, FOLDER_PARAMETER, FOLDER_ARGUMENT, folder)

AROUND(CREATE, int, mkdir, (const char* path, mode_t mode), (path, mode), add_path(&call, AT_FDCWD, path))
AROUND(CREATE, int, mkdirat, (int folder, const char* path, mode_t mode), (folder, path, mode),
       add_path(&call, folder, path))

AROUND(WRITE, ssize_t, write, (int file, const void* data, size_t size), (file, data, size), add_file(&call, file))
AROUND(WRITE, ssize_t, writev, (int file, const struct iovec* pieces, int count), (file, pieces, count),
       add_file(&call, file))
AROUND(WRITE, ssize_t, pwrite, (int file, const void* data, size_t size, off_t at), (file, data, size, at),
       add_file(&call, file))
AROUND(WRITE, ssize_t, pwrite64, (int file, const void* data, size_t size, off64_t at), (file, data, size, at),
       add_file(&call, file))
AROUND(WRITE, int, ftruncate, (int file, off_t size), (file, size), add_file(&call, file))
AROUND(WRITE, int, ftruncate64, (int file, off64_t size), (file, size), add_file(&call, file))

AROUND(SYNC, int, fsync, (int file), (file), add_file(&call, file))
AROUND(SYNC, int, fdatasync, (int file), (file), add_file(&call, file))
AROUND(SYNC, int, syncfs, (int file), (file), add_file(&call, file))

AROUND(RENAME, int, rename, (const char* from, const char* to), (from, to),
       (add_path(&call, AT_FDCWD, from), add_path(&call, AT_FDCWD, to)))
AROUND(RENAME, int, renameat, (int from_folder, const char* from, int to_folder, const char* to),
       (from_folder, from, to_folder, to), (add_path(&call, from_folder, from), add_path(&call, to_folder, to)))
AROUND(RENAME, int, link, (const char* from, const char* to), (from, to),
       (add_path(&call, AT_FDCWD, from), add_path(&call, AT_FDCWD, to)))
AROUND(RENAME, int, linkat, (int from_folder, const char* from, int to_folder, const char* to, int flags),
       (from_folder, from, to_folder, to, flags), (add_path(&call, from_folder, from), add_path(&call, to_folder, to)))

int renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags)
{
    static int (*next)(int, const char*, int, const char*, unsigned);
    if (flags && instruction && instruction->refuses_flags) {
        errno = EINVAL;
        return -1;
    }
    struct Call call = {false, "renameat2"};
    if (is_armed(RENAME)) {
        add_path(&call, from_folder, from);
        add_path(&call, to_folder, to);
        begin(&call);
    }
    FIND_NEXT(renameat2);
    const int result = next(from_folder, from, to_folder, to, flags);
    if (call.is_hit)
        die(&call);
    return result;
}

AROUND(REMOVE, int, unlink, (const char* path), (path), add_path(&call, AT_FDCWD, path))
AROUND(REMOVE, int, unlinkat, (int folder, const char* path, int flags), (folder, path, flags),
       add_path(&call, folder, path))
AROUND(REMOVE, int, rmdir, (const char* path), (path), add_path(&call, AT_FDCWD, path))
AROUND(REMOVE, int, remove, (const char* path), (path), add_path(&call, AT_FDCWD, path))
