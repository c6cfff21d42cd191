// The API's parts on a folder of their own, without a listener.
#pragma once

#include "service/api/Context.h"
#include "service/api/UploadSteps.h"
#include "service/content/FolderContents.h"
#include "service/store/FarmTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/UserTable.h"
#include "tests/service/support/ManualClock.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/StoredLists.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvo::test {

/** A farm with an operator who has an inbox in the project "To Console". */
class ApiFixture : public testing::Test
{
protected:
    ApiFixture()
    {
        database.writeNow([this](store::Transaction& t) {
            const store::Farm farm = store::addFarm(t, "Hill Farm");
            user = store::addUser(t, {farm, "olga", store::ERole::Operator, "hash", 0});
            inbox = store::ensureInbox(t, user, 1, clock.nowMs()).inbox;
        });
    }

    /** An upload to the inbox, without bytes. */
    store::Upload begin(const std::string& name, long long lengthBytes)
    {
        api::UploadRequest wanted;
        wanted.name = name;
        wanted.targets = {inbox.id};
        wanted.lengthBytes = lengthBytes;
        return loop
            .run(api::startUpload(context, user, wanted, api::newUploadId(),
                                  store::EDurability::Now))
            .upload;
    }

    std::vector<store::File> files()
    {
        return database.readNow([this](soci::session& sql) { return filesIn(sql, user.farmId()); });
    }

    /** The context of an instance with these contents. */
    api::Context contextWith(content::Contents& ofInstance, api::ActiveUploads& uploads)
    {
        return {database, ofInstance,  digestLocks,     uploads,        integrity,
                broker,   accounts,    clock,           filePool,       filePool,
                reserve,  answerFiles, answersInMemory, transferMemory, folder.Path() / "uploads",
                &reserve, {}};
    }

    TempFolder folder;
    ManualClock clock;
    Loop loop;
    store::Database database{store::makeSqlite((folder.Path() / "kelvo.sqlite").string())};
    DiskReserve reserve{folder.Path() / "reserve", 0};
    content::ContentStore contents{folder.Path(), &reserve};
    content::DigestCache digests;
    content::FolderContents folderContents{contents, digests, &reserve};
    content::DigestLocks digestLocks;
    api::ActiveUploads activeUploads;
    content::Integrity integrity;
    events::EventBroker broker;
    accounts::Accounts accounts{
        database, clock, {accounts::EPasswordCost::Minimal, 5, std::chrono::hours(1)}};
    WorkPool filePool{2};
    api::AnswerFiles answerFiles;
    api::AnswerFiles answersInMemory{8 * 200 * 1024};
    api::TransferMemory transferMemory;
    api::Context context = contextWith(folderContents, activeUploads);
    store::User user;
    store::Inbox inbox;
};

} // namespace kelvo::test
