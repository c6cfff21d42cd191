#include "service/tls/Authority.h"

#include "service/base/Files.h"
#include "service/base/Log.h"
#include "service/tls/Certificates.h"

namespace kelvo::tls {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr std::chrono::hours authorityLife = 24h * 3650;
constexpr std::chrono::hours serverLife = 24h * 397; // the longest life that clients accept
constexpr std::chrono::hours renewBefore = 24h * 30;

struct Authority
{
    Key key;
    Certificate certificate;
};

Authority makeNewAuthority(const fs::path& keyFile, const fs::path& certificateFile)
{
    Authority made;
    made.key = makeKey();
    made.certificate = makeAuthority(*made.key, authorityLife);
    // The key is written first: the next start replaces a key without a certificate, but not a
    // certificate without a key.
    replaceFile(keyFile, toPem(*made.key), 0600);
    replaceFile(certificateFile, toPem(*made.certificate), 0644);
    logInfo("authority-made");
    return made;
}

Authority loadOrMakeAuthority(const fs::path& dataFolder)
{
    const fs::path keyFile = dataFolder / "tls" / "ca.key";
    const fs::path certificateFile = dataFolder / "ca.pem";
    if (!fs::exists(keyFile) || !fs::exists(certificateFile)) {
        return makeNewAuthority(keyFile, certificateFile);
    }
    return {keyFromPem(readFile(keyFile)), certificateFromPem(readFile(certificateFile))};
}

bool isStillGood(const CertificateFiles& files, const std::vector<std::string>& names,
                 X509& authority)
{
    if (!fs::exists(files.certificate) || !fs::exists(files.key)) {
        return false;
    }
    const Certificate certificate = certificateFromPem(readFile(files.certificate));
    const Key key = keyFromPem(readFile(files.key));
    return isValidFor(*certificate, renewBefore) && covers(*certificate, names, authority) &&
           X509_check_private_key(certificate.get(), key.get()) == 1;
}

} // namespace

CertificateFiles ensureCertificates(const fs::path& dataFolder,
                                    const std::vector<std::string>& names)
{
    fs::create_directories(dataFolder / "tls");
    fs::permissions(dataFolder / "tls", fs::perms::owner_all);
    CertificateFiles files{dataFolder / "tls" / "server.pem", dataFolder / "tls" / "server.key"};
    const Authority authority = loadOrMakeAuthority(dataFolder);
    if (!isStillGood(files, names, *authority.certificate)) {
        const Key key = makeKey();
        const Certificate certificate =
            makeServerCertificate(*key, names, *authority.certificate, *authority.key, serverLife);
        replaceFile(files.key, toPem(*key), 0600);
        replaceFile(files.certificate, toPem(*certificate), 0644);
        logInfo("server-certificate-made");
    }
    return files;
}

} // namespace kelvo::tls
