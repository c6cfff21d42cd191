// The operator's text for each error.
#include "client/Problems.h"
#include "connection/ErrorTexts.h"
#include "http/CurlErrors.h"
#include "support/FakeTransport.h"

#include <gtest/gtest.h>

#include <openssl/x509_vfy.h>

#include <cerrno>

namespace kesdk::impl {

namespace {

using test::MakeResponse;
using test::Problem;

struct ProblemCase
{
    const char* name;
    int status;
    EErrorCode code;
};

// The problems of the wire protocol.
const ProblemCase kProblemCases[] = {
    {"malformed-request", 400, EErrorCode::eRefusedByService},
    {"invalid-credentials", 401, EErrorCode::eInvalidCredentials},
    {"unauthenticated", 401, EErrorCode::eSessionEnded},
    {"account-disabled", 403, EErrorCode::eAccountDisabled},
    {"forbidden", 403, EErrorCode::eForbidden},
    {"not-found", 404, EErrorCode::eNotFound},
    {"method-not-allowed", 405, EErrorCode::eRefusedByService},
    {"conflict", 409, EErrorCode::eConflict},
    {"upload-offset-mismatch", 409, EErrorCode::eConflict},
    {"gone", 410, EErrorCode::eNotFound},
    {"cursor-too-old", 410, EErrorCode::eCursorTooOld},
    {"precondition-failed", 412, EErrorCode::eFileGone},
    {"content-too-large", 413, EErrorCode::eTooLarge},
    {"uri-too-long", 414, EErrorCode::eRefusedByService},
    {"unsupported-media-type", 415, EErrorCode::eRefusedByService},
    {"range-not-satisfiable", 416, EErrorCode::eRangeRefused},
    {"unprocessable", 422, EErrorCode::eRefusedByService},
    {"headers-too-large", 431, EErrorCode::eRefusedByService},
    {"login-throttled", 429, EErrorCode::eLoginThrottled},
    {"internal", 500, EErrorCode::eServiceError},
    {"busy", 503, EErrorCode::eServiceBusy},
    {"insufficient-storage", 507, EErrorCode::eServiceFull},
};

struct TextCase
{
    EErrorCode code;
    const wchar_t* text1;
};

const TextCase kTextCases[] = {
    {EErrorCode::eNotLoggedIn, L"You are not logged in."},
    {EErrorCode::eUnknownHost, L"The service was not found on the internet."},
    {EErrorCode::eRefused, L"The service does not answer."},
    {EErrorCode::eConnectTimeout, L"The service could not be reached in time."},
    {EErrorCode::eTimeout, L"The service did not answer in time."},
    {EErrorCode::eUnknownAuthority, L"The service could not prove its identity."},
    {EErrorCode::eCertificateExpired, L"The service's certificate has expired."},
    {EErrorCode::eNoProgress, L"No data got through for a while."},
    {EErrorCode::eClockWrong, L"The console's date and time are wrong."},
    {EErrorCode::eCaptivePortal, L"This network shows a page of its own instead of the service."},
    {EErrorCode::eWrongHostName, L"The server that answered is not the service."},
    {EErrorCode::eInvalidCredentials, L"The user name or the password is wrong."},
    {EErrorCode::eAccountDisabled, L"This account is disabled."},
    {EErrorCode::eFileGone, L"File no longer exists."},
    {EErrorCode::eServiceFull, L"The service has no space left."},
    {EErrorCode::eDiskFull, L"The console's storage is full."},
    {EErrorCode::eFileMissing, L"a.zip is not on the console."},
    {EErrorCode::eFileUnreadable, L"a.zip could not be read."},
    {EErrorCode::eFileChanged, L"a.zip changed while it was being sent."},
    {EErrorCode::eUnusableServiceName, L"a.zip has a name that the console cannot use."},
    {EErrorCode::eDamaged, L"a.zip arrived damaged and was not kept."},
};

struct CurlCase
{
    CURLcode curl;
    long verifyResult;
    long osError;
    const char* text;
    EErrorCode code;
};

const CurlCase kCurlCases[] = {
    {CURLE_COULDNT_RESOLVE_HOST, 0, 0, "Could not resolve host: x", EErrorCode::eUnknownHost},
    {CURLE_COULDNT_CONNECT, 0, ECONNREFUSED, "", EErrorCode::eRefused},
    {CURLE_COULDNT_CONNECT, 0, ENETUNREACH, "", EErrorCode::eUnreachable},
    {CURLE_COULDNT_CONNECT, 0, EHOSTUNREACH, "", EErrorCode::eUnreachable},
    {CURLE_COULDNT_CONNECT, 0, ECONNRESET, "", EErrorCode::eRefused},
    {CURLE_COULDNT_CONNECT, 0, ETIMEDOUT, "", EErrorCode::eConnectTimeout},
    {CURLE_OPERATION_TIMEDOUT, 0, 0, "Connection timed out", EErrorCode::eConnectTimeout},
    {CURLE_PEER_FAILED_VERIFICATION, X509_V_ERR_CERT_HAS_EXPIRED, 0, "",
     EErrorCode::eCertificateExpired},
    {CURLE_PEER_FAILED_VERIFICATION, X509_V_ERR_CERT_NOT_YET_VALID, 0, "", EErrorCode::eClockWrong},
    {CURLE_PEER_FAILED_VERIFICATION, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, 0, "",
     EErrorCode::eUnknownAuthority},
    {CURLE_PEER_FAILED_VERIFICATION, X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, 0, "",
     EErrorCode::eUnknownAuthority},
    {CURLE_PEER_FAILED_VERIFICATION, X509_V_ERR_UNSPECIFIED, 0, "no alternative subject name",
     EErrorCode::eWrongHostName},
    {CURLE_SSL_CONNECT_ERROR, 0, ECONNRESET, "Recv failure: Connection reset by peer",
     EErrorCode::eDropped},
    {CURLE_SSL_CONNECT_ERROR, 0, ECONNRESET, "Recv failure: Die Verbindung wurde zurückgesetzt",
     EErrorCode::eDropped},
    {CURLE_SSL_CONNECT_ERROR, 0, EPIPE, "Send failure: Datenübergabe unterbrochen",
     EErrorCode::eDropped},
    {CURLE_SSL_CONNECT_ERROR, 0, 0,
     "OpenSSL SSL_connect: Die Verbindung wurde zurückgesetzt in connection to kelvo.example:443 ",
     EErrorCode::eDropped},
    {CURLE_SSL_CONNECT_ERROR, 0, 0,
     "OpenSSL SSL_connect: SSL_ERROR_SYSCALL in connection to kelvo.example:443 ",
     EErrorCode::eDropped},
    {CURLE_SSL_CONNECT_ERROR, 0, 0, "error:0A000102:SSL routines::unsupported protocol",
     EErrorCode::eTls},
    {CURLE_RECV_ERROR, 0, 0, "", EErrorCode::eDropped},
    {CURLE_PARTIAL_FILE, 0, 0, "", EErrorCode::eDropped},
};

} // namespace

TEST(Problems, ReadsTheErrorFromNameAndStatus)
{
    for (const ProblemCase& each : kProblemCases) {
        const Failure failure = FailureOf(Problem(each.status, each.name, "because"));
        EXPECT_EQ(failure.code, each.code) << each.name;
        EXPECT_EQ(failure.httpStatus, each.status);
        EXPECT_NE(failure.detail.find("because"), std::string::npos);
    }
}

TEST(Problems, ReadsTheErrorOfAProxyFromTheStatus)
{
    EXPECT_EQ(FailureOf(MakeResponse(502, "<html>bad gateway</html>")).code,
              EErrorCode::eServiceBusy);
    EXPECT_EQ(FailureOf(MakeResponse(401, "")).code, EErrorCode::eSessionEnded);
    EXPECT_EQ(FailureOf(MakeResponse(408, "")).code, EErrorCode::eDropped);
    EXPECT_EQ(FailureOf(MakeResponse(418, "[1,2]")).code, EErrorCode::eRefusedByService);
    EXPECT_EQ(FailureOf(MakeResponse(599, "{")).code, EErrorCode::eServiceError);
}

TEST(Problems, ReportsNoErrorBelowStatus400)
{
    EXPECT_FALSE(FailureOf(MakeResponse(204)).IsSet());
}

TEST(CurlErrors, TranslatesCurlErrors)
{
    for (const CurlCase& each : kCurlCases) {
        const Failure failure =
            TranslateCurlError(each.curl, {each.verifyResult, each.osError, each.text});
        EXPECT_EQ(failure.code, each.code) << each.curl << " " << each.text;
        if (each.curl == CURLE_COULDNT_CONNECT) {
            EXPECT_TRUE(failure.WasNeverSent()) << each.osError;
        }
    }
}

TEST(ErrorTexts, EachTextSaysWhatHappenedAndWhatToDo)
{
    for (const TextCase& each : kTextCases) {
        const api::CErrorMsg message = Describe(Failure(each.code, "technical"), L"a.zip");
        EXPECT_EQ(message.text1, each.text1);
        EXPECT_FALSE(message.text2.empty()) << static_cast<int>(each.code);
        EXPECT_NE(message.text2, message.text1);
        EXPECT_EQ(message.text3, L"technical");
        EXPECT_EQ(message.code, static_cast<std::int32_t>(each.code));
    }
}

// A proxy or a router drops the connection if the service behind it is down.
TEST(ErrorTexts, TheTextOfALostConnectionNamesBothCauses)
{
    EXPECT_EQ(Describe(Failure(EErrorCode::eDropped), {}).text2,
              L"The service may be down, or the mobile signal weak. Try again in a few minutes.");
}

TEST(ErrorTexts, TheTextOfALockSaysHowLongItLasts)
{
    Failure failure(EErrorCode::eLoginThrottled, "", 429);
    failure.retryAfter = std::chrono::seconds(45);
    EXPECT_EQ(Describe(failure, {}).text1,
              L"Too many failed logins: the account is locked for 45 seconds.");
    failure.retryAfter = std::chrono::seconds(301);
    EXPECT_EQ(Describe(failure, {}).text2, L"Wait 6 minutes, then log in with the right password.");
    failure.retryAfter = std::chrono::hours(3);
    EXPECT_EQ(Describe(failure, {}).text2, L"Wait 3 hours, then log in with the right password.");
}

TEST(ErrorTexts, EscapesTheVariablePartsOfAText)
{
    const Failure failure(EErrorCode::eFileMissing, "<detail>");
    const api::CErrorMsg message = Describe(failure, L"<i>a&b</i>{wait}");
    EXPECT_EQ(message.text1, L"&lt;i&gt;a&amp;b&lt;/i&gt;{wait} is not on the console.");
    EXPECT_EQ(message.text3, L"&lt;detail&gt;");
}

TEST(ErrorTexts, MarksErrorsThatMayPassByThemselves)
{
    EXPECT_EQ(Describe(Failure(EErrorCode::eDropped), {}).severity, 1);
    EXPECT_EQ(Describe(Failure(EErrorCode::eNoProgress), {}).severity, 1);
    EXPECT_EQ(Describe(Failure(EErrorCode::eInvalidCredentials), {}).severity, 0);
}

} // namespace kesdk::impl
