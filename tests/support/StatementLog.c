// Preloaded into a program: appends each SQL statement to the file KELVO_STATEMENT_LOG, with a NUL
// behind it.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static void note(const char* statement)
{
    const char* path = getenv("KELVO_STATEMENT_LOG");
    const int file = path ? open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600) : -1;
    if (file < 0)
        return;
    // One call, so that the statements of two threads do not mix.
    if (write(file, statement, strlen(statement) + 1) < 0)
        abort();
    close(file);
}

// libpq belongs to a module, so the search from here does not find it.
static void* library_function(const char* name)
{
    void* found = dlsym(RTLD_NEXT, name);
    return found ? found : dlsym(dlopen("libpq.so.5", RTLD_NOW | RTLD_NOLOAD), name);
}

// WATCH(TYPE, FUNCTION, PARAMETERS, ARGUMENTS): notes the argument `text` and calls the function of
// the library.
#define WATCH(type, function, parameters, arguments)                                               \
    type function parameters                                                                       \
    {                                                                                              \
        static type(*next) parameters;                                                             \
        if (!next)                                                                                 \
            next = (type(*) parameters)library_function(#function);                                \
        note(text);                                                                                \
        return next arguments;                                                                     \
    }

WATCH(int, sqlite3_prepare_v2,
      (void* database, const char* text, int bytes, void** result, const char** rest),
      (database, text, bytes, result, rest))
WATCH(int, sqlite3_exec,
      (void* database, const char* text, void* call, void* context, char** error),
      (database, text, call, context, error))
WATCH(void*, PQprepare,
      (void* connection, const char* name, const char* text, int count, const void* types),
      (connection, name, text, count, types))
WATCH(int, PQsendPrepare,
      (void* connection, const char* name, const char* text, int count, const void* types),
      (connection, name, text, count, types))
WATCH(void*, PQexec, (void* connection, const char* text), (connection, text))
WATCH(int, PQsendQuery, (void* connection, const char* text), (connection, text))
WATCH(void*, PQexecParams,
      (void* connection, const char* text, int count, const void* types, const void* values,
       const void* lengths, const void* formats, int format),
      (connection, text, count, types, values, lengths, formats, format))
WATCH(int, PQsendQueryParams,
      (void* connection, const char* text, int count, const void* types, const void* values,
       const void* lengths, const void* formats, int format),
      (connection, text, count, types, values, lengths, formats, format))
