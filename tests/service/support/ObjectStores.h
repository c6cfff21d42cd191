// The object stores that the contract suites run on.
#pragma once

#include "tests/service/support/ObjectGateway.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace kelvo::test {

/** A bucket that a test may use. Its keys may be in use by other tests. */
struct ObjectStore
{
    std::unique_ptr<ObjectGateway> gateway; // none for a real store
    objects::BucketAddress address;
    objects::Credentials credentials;
};

struct ObjectStoreKind
{
    const char* name;
    std::function<ObjectStore()> open;
};

inline void PrintTo(const ObjectStoreKind& kind, std::ostream* out)
{
    *out << kind.name;
}

inline std::string nameOf(const testing::TestParamInfo<ObjectStoreKind>& kind)
{
    return kind.param.name;
}

/** Ceph is in the list if the variable KELVO_TEST_BUCKET is set, as by object_gateway.py. */
inline std::vector<ObjectStoreKind> objectStoreKinds()
{
    std::vector<ObjectStoreKind> kinds{{"Simulated", [] {
                                            ObjectStore store;
                                            store.gateway = std::make_unique<ObjectGateway>();
                                            store.address = store.gateway->address();
                                            store.credentials = ObjectGateway::credentials();
                                            return store;
                                        }}};
    if (const char* address = std::getenv("KELVO_TEST_BUCKET")) {
        kinds.push_back({"Ceph", [address] {
                             ObjectStore store;
                             store.address = objects::BucketAddress::parse(address);
                             store.credentials = objects::findCredentials();
                             return store;
                         }});
    }
    return kinds;
}

} // namespace kelvo::test
