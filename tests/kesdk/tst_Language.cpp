// libkesdk.so finds its catalogues by its own place.
#include "kesdk/api/IEnterpriseConnection.h"
#include "tests/support/Variable.h"

#include <gtest/gtest.h>

#include <memory>

TEST(Library, SpeaksTheLanguageOfTheEnvironment)
{
    const kelvo::test::Variable language("LANGUAGE", "de");
    kesdk::api::IEnterpriseConnection* created = nullptr;
    ASSERT_TRUE(kesdk::api::CreateKESDKInstance(&created, "https://localhost:1/base"));
    const std::unique_ptr<kesdk::api::IEnterpriseConnection> connection(created);
    EXPECT_FALSE(connection->Logout());
    ASSERT_EQ(connection->GetLastErrors().size(), 1u);
    EXPECT_EQ(connection->GetLastErrors().front().text1, L"Sie sind nicht angemeldet.");
}
