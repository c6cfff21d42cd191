// SHA-256 and the Repr-Digest field made of it.
#include "service/base/Digest.h"

#include <gtest/gtest.h>

namespace kelvo {
namespace {

constexpr const char* abcDigest =
    "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

TEST(Sha256Digest, OnePieceAndManyHaveTheSameDigest)
{
    EXPECT_EQ(sha256Hex("abc"), abcDigest);
    Sha256 digest;
    for (const char c : {'a', 'b', 'c'}) {
        digest.add(&c, 1);
    }
    EXPECT_EQ(digest.finishHex(), abcDigest);
}

TEST(Sha256Digest, BecomesAReprDigestField)
{
    EXPECT_EQ(reprDigest(abcDigest), "sha-256=:ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=:");
}

} // namespace
} // namespace kelvo
