// The state of a digest that another receiver continues.
#include "service/base/Digest.h"
#include "service/chunks/DigestState.h"

#include <gtest/gtest.h>

namespace kelvo::chunks {
namespace {

TEST(ASavedDigest, GoesOnAtEveryByte)
{
    const std::string text(130, 'x'); // more than two blocks
    for (std::size_t at = 0; at <= text.size(); ++at) {
        DigestState first;
        first.add(text.data(), at);
        DigestState second(first.save());
        second.add(text.data() + at, text.size() - at);
        EXPECT_EQ(second.sha256(), sha256Hex(text)) << at;
        EXPECT_EQ(first.sha256(), sha256Hex(text.substr(0, at))) << "save() changed the digest";
    }
    EXPECT_EQ(DigestState("").sha256(), sha256Hex(""));
    EXPECT_THROW(DigestState("00"), std::invalid_argument);
    EXPECT_THROW(DigestState(std::string(208, 'z')), std::invalid_argument);
}

} // namespace
} // namespace kelvo::chunks
