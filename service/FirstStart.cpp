#include "service/FirstStart.h"

#include "service/base/Files.h"
#include "service/base/Log.h"
#include "service/base/Random.h"
#include "service/store/UserTable.h"

namespace kelvo {

namespace {

constexpr const char* passwordName = "admin.password";

bool hasUsers(soci::session& sql)
{
    bool found = false;
    store::allUsers(sql, {.most = 1}, [&found](const store::User&) { return found = true; });
    return found;
}

} // namespace

void makeFirstAdmin(store::Database& database, const accounts::Passwords& passwords,
                    const Clock& clock, const std::filesystem::path& dataFolder)
{
    if (database.readNow(hasUsers)) {
        return;
    }
    const std::string password = randomHex(12);
    replaceFile(dataFolder / passwordName, password + "\n", 0600);
    const store::NewUser admin{std::nullopt, "admin", store::ERole::Admin, passwords.hash(password),
                               clock.nowMs()};
    const bool isMade = database.writeNow([&admin](store::Transaction& transaction) {
        if (hasUsers(transaction.sql)) {
            return false; // another instance was faster
        }
        store::addUser(transaction, admin);
        return true;
    });
    if (isMade) {
        logInfo("first-administrator-made");
    } else {
        std::filesystem::remove(dataFolder / passwordName);
    }
}

} // namespace kelvo
