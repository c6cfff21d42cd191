#include "service/FirstStart.h"

#include "service/base/Files.h"
#include "service/base/Log.h"
#include "service/base/Random.h"
#include "service/store/UserTable.h"

namespace kelvo {

void makeFirstAdmin(store::Database& database, const accounts::Passwords& passwords,
                    const Clock& clock, const std::filesystem::path& dataFolder)
{
    const bool hasUsers = database.readNow([](soci::session& sql) {
        bool found = false;
        store::allUsers(sql, {.most = 1}, [&found](const store::User&) { return found = true; });
        return found;
    });
    if (hasUsers) {
        return;
    }
    const std::string password = randomHex(12);
    replaceFile(dataFolder / "admin.password", password + "\n", 0600);
    const store::NewUser admin{std::nullopt, "admin", store::ERole::Admin, passwords.hash(password),
                               clock.nowMs()};
    database.writeNow(
        [&admin](store::Transaction& transaction) { store::addUser(transaction, admin); });
    logInfo("first-administrator-made");
}

} // namespace kelvo
