#include "service/accounts/Passwords.h"

#include <gtest/gtest.h>

namespace kelvo::accounts {
namespace {

TEST(PasswordHashes, MatchOnlyTheirPassword)
{
    const Passwords passwords(EPasswordCost::Minimal);
    const std::string hash = passwords.hash("correct horse");
    EXPECT_TRUE(passwords.verify("correct horse", hash));
    EXPECT_FALSE(passwords.verify("correct horsf", hash));
    EXPECT_FALSE(passwords.verify("", hash));
    EXPECT_EQ(hash.find("$argon2id$"), 0U);
}

TEST(PasswordHashes, HaveANewSaltEachTime)
{
    const Passwords passwords(EPasswordCost::Minimal);
    EXPECT_NE(passwords.hash("same"), passwords.hash("same"));
}

TEST(PasswordHashes, MatchNothingForAnUnknownUser)
{
    const Passwords passwords(EPasswordCost::Minimal);
    EXPECT_FALSE(passwords.verify("anything", std::nullopt));
}

TEST(PasswordHashes, AHashOfAnotherCostStillMatches)
{
    const std::string hash = Passwords(EPasswordCost::Interactive).hash("secret password");
    EXPECT_TRUE(Passwords(EPasswordCost::Minimal).verify("secret password", hash));
}

TEST(PasswordCost, HasNames)
{
    EXPECT_EQ(passwordCostFromText("min"), EPasswordCost::Minimal);
    EXPECT_EQ(passwordCostFromText("interactive"), EPasswordCost::Interactive);
    EXPECT_EQ(passwordCostFromText("moderate"), EPasswordCost::Moderate);
    EXPECT_EQ(passwordCostFromText("cheap"), std::nullopt);
}

} // namespace
} // namespace kelvo::accounts
