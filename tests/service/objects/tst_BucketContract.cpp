// The promises of a bucket, which hold on every object store.
#include "service/base/Digest.h"
#include "service/base/Random.h"
#include "service/objects/Bucket.h"
#include "service/objects/ObjectErrors.h"
#include "tests/service/support/ObjectStores.h"

#include <gmock/gmock.h>

namespace kelvo::objects {
namespace {

using testing::HasSubstr;
using testing::Not;

class EveryBucket : public testing::TestWithParam<test::ObjectStoreKind>
{
protected:
    void put(const std::string& bytes) { bucket.put(key, bytes, sha256Hex(bytes)); }

    const SystemClock clock;
    test::ObjectStore store = GetParam().open();
    const std::string key = "tests/" + randomHex(8);
    Bucket bucket{store.address, store.credentials, clock};
};

TEST_P(EveryBucket, PutsReadsAndRemovesAnObject)
{
    EXPECT_EQ(bucket.sizeOf(key), std::nullopt);
    put("hello");
    EXPECT_EQ(bucket.sizeOf(key), 5U);
    EXPECT_EQ(bucket.get(key, 0, 5), "hello");
    bucket.remove(key);
    EXPECT_EQ(bucket.sizeOf(key), std::nullopt);
}

TEST_P(EveryBucket, ReadsARange)
{
    put("0123456789");
    EXPECT_EQ(bucket.get(key, 3, 4), "3456");
    EXPECT_EQ(bucket.get(key, 9, 1), "9");
}

TEST_P(EveryBucket, RefusesARangeBeyondTheEnd)
{
    put("0123456789");
    EXPECT_THROW(bucket.get(key, 8, 4), StoreUnavailable);
    EXPECT_THROW(bucket.get(key, 10, 1), RequestRefused);
}

TEST_P(EveryBucket, KeepsEmptyAndLargestObjects)
{
    put("");
    EXPECT_EQ(bucket.sizeOf(key), 0U);
    const std::string largest(largestObjectBytes, 'x');
    put(largest);
    EXPECT_EQ(bucket.get(key, 0, largestObjectBytes), largest);
    EXPECT_THROW(put(largest + "x"), std::invalid_argument);
}

TEST_P(EveryBucket, TakesTheSameObjectAgain)
{
    put("hello");
    put("hello");
    EXPECT_EQ(bucket.get(key, 0, 5), "hello");
}

TEST_P(EveryBucket, TellsAMissingObject)
{
    EXPECT_THROW(bucket.get(key, 0, 1), ObjectMissing);
    bucket.remove(key);
}

TEST_P(EveryBucket, RefusesAnotherSecretKey)
{
    Bucket other(store.address, {store.credentials.accessKey, "another key"}, clock);
    try {
        other.put(key, "1", sha256Hex("1"));
        FAIL() << "the store took a wrong signature";
    } catch (const RequestRefused& refused) {
        EXPECT_THAT(refused.what(), HasSubstr("SignatureDoesNotMatch"));
        EXPECT_THAT(refused.what(), Not(HasSubstr("another key")));
    }
}

TEST_P(EveryBucket, RefusesBytesWithAnotherDigest)
{
    EXPECT_THROW(bucket.put(key, "changed", sha256Hex("promised")), RequestRefused);
    EXPECT_EQ(bucket.sizeOf(key), std::nullopt);
}

TEST_P(EveryBucket, RefusesAMissingBucket)
{
    store.address.bucket = "kelvo-missing";
    Bucket other(store.address, store.credentials, clock);
    EXPECT_THROW(other.put(key, "1", sha256Hex("1")), RequestRefused);
}

TEST_P(EveryBucket, RefusesKeysThatAreNotPlain)
{
    for (const std::string& bad : {std::string(), std::string("a b"), std::string("a?b"),
                                   std::string("a\0b", 3), std::string(201, 'a')}) {
        EXPECT_THROW(bucket.sizeOf(bad), std::invalid_argument) << bad;
    }
}

INSTANTIATE_TEST_SUITE_P(Stores, EveryBucket, testing::ValuesIn(test::objectStoreKinds()),
                         test::nameOf);

} // namespace
} // namespace kelvo::objects
