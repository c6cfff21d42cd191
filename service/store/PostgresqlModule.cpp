#include "service/store/PostgresqlModule.h"

#include <stdexcept>

#include <dlfcn.h>

namespace kelvo::store {

namespace {

/** The module lies beside the program: in a build folder and where a package has put it. */
std::filesystem::path modulePath()
{
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    return program.parent_path().parent_path() / "lib/kelvo-service/postgresql.so";
}

} // namespace

std::unique_ptr<Dialect> makePostgresql(const std::string& url)
{
    return makePostgresql(url, modulePath());
}

std::unique_ptr<Dialect> makePostgresql(const std::string& url, const std::filesystem::path& module)
{
    void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL); // it stays loaded
    if (library == nullptr) {
        throw std::runtime_error(std::string("PostgreSQL cannot be used; install the package"
                                             " kelvo-service-postgresql: ") +
                                 ::dlerror());
    }
    const auto describe = reinterpret_cast<DescribeModule>(::dlsym(library, describeModuleName));
    const std::string version = describe == nullptr ? "unknown" : describe()->version;
    if (describe == nullptr || version != KELVO_SERVICE_VERSION) {
        throw std::runtime_error("the package kelvo-service-postgresql has the version " + version +
                                 ", but kelvo-service has the version " KELVO_SERVICE_VERSION
                                 ": install the same version of both");
    }
    return std::unique_ptr<Dialect>(describe()->make(url));
}

} // namespace kelvo::store
