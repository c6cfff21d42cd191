// The visibility of events.
#include "service/events/Visibility.h"

#include <gtest/gtest.h>

namespace kelvo::events {
namespace {

store::User makeUser(store::Id id, store::ERole role, store::Id farm)
{
    store::User user;
    user.id = id;
    user.role = role;
    if (farm != 0) {
        user.farm = store::Farm{farm, "farm"};
    }
    return user;
}

const store::Event ownFile{1, 5, "file-added", 7, "full", "", 0};
const store::Event newInbox{1, 6, "inbox-added", 7, "full", "common", 0};
const store::Event forOffice{1, 7, "console-moved", 0, "full", "", 0};

TEST(Visibility, ShowsAllDataToTheOwnerAndTheOffice)
{
    for (const store::Event& event : {ownFile, newInbox}) {
        EXPECT_EQ(dataFor(event, makeUser(7, store::ERole::Operator, 1)), "full");
        EXPECT_EQ(dataFor(event, makeUser(9, store::ERole::Office, 1)), "full");
    }
}

TEST(Visibility, HidesFilesButNotInboxesFromOtherOperators)
{
    const store::User other = makeUser(8, store::ERole::Operator, 1);
    EXPECT_EQ(dataFor(ownFile, other), "");
    EXPECT_EQ(dataFor(newInbox, other), "common");
}

TEST(Visibility, HidesEventsForTheOfficeFromOperators)
{
    EXPECT_EQ(dataFor(forOffice, makeUser(9, store::ERole::Office, 1)), "full");
    EXPECT_EQ(dataFor(forOffice, makeUser(7, store::ERole::Operator, 1)), "");
}

TEST(Visibility, HidesEventsOfOtherFarms)
{
    EXPECT_EQ(dataFor(ownFile, makeUser(7, store::ERole::Operator, 2)), "");
    EXPECT_EQ(dataFor(newInbox, makeUser(9, store::ERole::Office, 2)), "");
    EXPECT_EQ(dataFor(newInbox, makeUser(1, store::ERole::Admin, 0)), "");
}

TEST(ServerSentEvents, HaveIdNameAndOneLineOfData)
{
    EXPECT_EQ(asServerSentEvent(ownFile, "{\"a\":1}"),
              "id: 5\nevent: file-added\ndata: {\"a\":1}\n\n");
    EXPECT_EQ(sessionEndedEvent("revoked"),
              "event: session-ended\ndata: {\"reason\":\"revoked\"}\n\n");
}

} // namespace
} // namespace kelvo::events
