// The certificates that a service makes itself.
#include "service/base/Files.h"
#include "service/tls/Authority.h"
#include "service/tls/Certificates.h"
#include "service/tls/ServerContext.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace kelvo::tls {
namespace {

using namespace std::chrono_literals;

class OwnAuthority : public testing::Test
{
protected:
    CertificateFiles ensure() { return ensureCertificates(folder.Path(), names); }

    Certificate authority() { return certificateFromPem(readFile(folder.Path() / "ca.pem")); }

    test::TempFolder folder;
    std::vector<std::string> names = [] {
        return std::vector<std::string>{"localhost", "127.0.0.1", "::1"};
    }();
};

TEST_F(OwnAuthority, SignsACertificateForAllNames)
{
    const CertificateFiles files = ensure();
    const Certificate server = certificateFromPem(readFile(files.certificate));
    const Certificate ca = authority();
    EXPECT_TRUE(covers(*server, names, *ca));
    EXPECT_FALSE(covers(*server, std::vector<std::string>(1, "example.org"), *ca));
    EXPECT_FALSE(covers(*server, std::vector<std::string>(1, "127.0.0.2"), *ca));
    EXPECT_TRUE(isValidFor(*server, 24h * 360));
    EXPECT_FALSE(isValidFor(*server, 24h * 400));
    EXPECT_TRUE(makeServerContext(files));
}

TEST_F(OwnAuthority, MakesItsKeysReadableByTheOwnerOnly)
{
    const CertificateFiles files = ensure();
    for (const auto& key : {files.key, folder.Path() / "tls" / "ca.key"}) {
        EXPECT_EQ(std::filesystem::status(key).permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    }
}

TEST_F(OwnAuthority, KeepsValidCertificates)
{
    const CertificateFiles files = ensure();
    const std::string before = readFile(files.certificate);
    const std::string ca = readFile(folder.Path() / "ca.pem");
    ensure();
    EXPECT_EQ(readFile(files.certificate), before);
    EXPECT_EQ(readFile(folder.Path() / "ca.pem"), ca);
}

TEST_F(OwnAuthority, MakesANewCertificateForANewNameUnderTheSameAuthority)
{
    const CertificateFiles files = ensure();
    const std::string ca = readFile(folder.Path() / "ca.pem");
    names.emplace_back("farm.example.org");
    ensure();
    EXPECT_EQ(readFile(folder.Path() / "ca.pem"), ca);
    const Certificate server = certificateFromPem(readFile(files.certificate));
    EXPECT_TRUE(covers(*server, names, *authority()));
}

TEST_F(OwnAuthority, RenewsACertificateThatEndsSoon)
{
    const CertificateFiles files = ensure();
    const Key caKey = keyFromPem(readFile(folder.Path() / "tls" / "ca.key"));
    const Key key = keyFromPem(readFile(files.key));
    const Certificate old = makeServerCertificate(*key, names, *authority(), *caKey, 24h * 29);
    replaceFile(files.certificate, toPem(*old), 0644);
    ensure();
    EXPECT_TRUE(isValidFor(*certificateFromPem(readFile(files.certificate)), 24h * 30));
}

TEST_F(OwnAuthority, RefusesAKeyThatDoesNotMatchTheCertificate)
{
    CertificateFiles files = ensure();
    replaceFile(files.key, toPem(*makeKey()), 0600);
    EXPECT_THROW(makeServerContext(files), std::runtime_error);
}

} // namespace
} // namespace kelvo::tls
