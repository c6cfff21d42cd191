#include "http/CurlErrors.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string_view>

namespace kesdk::impl {

namespace {

// A code of libcurl or OpenSSL, and its failure.
struct CodeRow
{
    long theirs;
    EErrorCode ours;
};

constexpr CodeRow kCurlRows[] = {
    {CURLE_COULDNT_RESOLVE_HOST, EErrorCode::eUnknownHost},
    {CURLE_COULDNT_RESOLVE_PROXY, EErrorCode::eUnknownHost},
    {CURLE_OPERATION_TIMEDOUT, EErrorCode::eConnectTimeout}, // no other time-out is set in libcurl
    {CURLE_SEND_ERROR, EErrorCode::eDropped},
    {CURLE_RECV_ERROR, EErrorCode::eDropped},
    {CURLE_GOT_NOTHING, EErrorCode::eDropped},
    {CURLE_PARTIAL_FILE, EErrorCode::eDropped},
    {CURLE_SEND_FAIL_REWIND, EErrorCode::eDropped},
    {CURLE_SSL_CONNECT_ERROR, EErrorCode::eTls},
    {CURLE_PEER_FAILED_VERIFICATION, EErrorCode::eTls},
    {CURLE_OUT_OF_MEMORY, EErrorCode::eInternal},
    {CURLE_ABORTED_BY_CALLBACK, EErrorCode::eAborted},
};

// Errors of the system after which a host has answered, or has stayed silent. No request has left
// the console, so each code is one of Failure::WasNeverSent().
constexpr CodeRow kConnectRows[] = {
    {ECONNREFUSED, EErrorCode::eRefused},
    {ECONNRESET, EErrorCode::eRefused},
    {ETIMEDOUT, EErrorCode::eConnectTimeout},
};

constexpr CodeRow kVerifyRows[] = {
    {X509_V_ERR_CERT_HAS_EXPIRED, EErrorCode::eCertificateExpired},
    {X509_V_ERR_CERT_NOT_YET_VALID, EErrorCode::eCertificateNotYetValid},
    {X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, EErrorCode::eUnknownAuthority},
    {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, EErrorCode::eUnknownAuthority},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, EErrorCode::eUnknownAuthority},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, EErrorCode::eUnknownAuthority},
    {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, EErrorCode::eUnknownAuthority},
    {X509_V_ERR_CERT_SIGNATURE_FAILURE, EErrorCode::eUnknownAuthority},
    {X509_V_ERR_CERT_UNTRUSTED, EErrorCode::eUnknownAuthority},
    {X509_V_ERR_HOSTNAME_MISMATCH, EErrorCode::eWrongHostName},
    {X509_V_ERR_IP_ADDRESS_MISMATCH, EErrorCode::eWrongHostName},
};

template <std::size_t count>
EErrorCode CodeOf(const CodeRow (&rows)[count], long theirs, EErrorCode other)
{
    for (const CodeRow& row : rows) {
        if (row.theirs == theirs)
            return row.ours;
    }
    return other;
}

// Whether the console's clock makes the certificate look bad. A service may use an old certificate,
// but rarely a certificate before its start.
bool IsOfTheClock(EErrorCode meaning, EConsoleClock clock)
{
    if (meaning == EErrorCode::eCertificateNotYetValid)
        return clock != EConsoleClock::eConfirmed;
    return meaning == EErrorCode::eCertificateExpired && clock == EConsoleClock::eWrong;
}

EErrorCode CodeOfVerify(long verifyResult)
{
    // The chain has no error: libcurl's own check of the host name failed.
    const bool isHostName = verifyResult == X509_V_OK || verifyResult == X509_V_ERR_UNSPECIFIED;
    return CodeOf(kVerifyRows, verifyResult,
                  isHostName ? EErrorCode::eWrongHostName : EErrorCode::eTls);
}

// OpenSSL's errors for an answer without TLS. On the service's port, such an answer is the login
// page of a network.
constexpr std::string_view kNoTls[] = {"wrong version number", "packet length too long",
                                       "http request"};

// libcurl's words about a socket that failed under TLS. The rest of the text may be strerror(),
// which speaks the language of the process.
constexpr std::string_view kDrop[] = {"Recv failure: ", "Send failure: ", " SSL_connect: "};

bool Holds(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

template <std::size_t count>
bool HoldsAny(std::string_view text, const std::string_view (&parts)[count])
{
    return std::any_of(std::begin(parts), std::end(parts),
                       [text](std::string_view part) { return Holds(text, part); });
}

} // namespace

Failure TranslateCurlError(CURLcode code, const CurlFacts& facts)
{
    EErrorCode meaning = CodeOf(kCurlRows, static_cast<long>(code), EErrorCode::eBadAnswer);
    const std::string_view text = facts.text.empty() ? curl_easy_strerror(code) : facts.text;
    if (code == CURLE_PEER_FAILED_VERIFICATION) {
        meaning = CodeOfVerify(facts.verifyResult);
        if (IsOfTheClock(meaning, facts.clock))
            meaning = EErrorCode::eClockWrong;
    }
    // A drop during the handshake is not an error of the certificate.
    else if (code == CURLE_SSL_CONNECT_ERROR && HoldsAny(text, kDrop))
        meaning = EErrorCode::eDropped;
    else if (code == CURLE_SSL_CONNECT_ERROR && HoldsAny(text, kNoTls))
        meaning = EErrorCode::eCaptivePortal;
    else if (code == CURLE_COULDNT_CONNECT)
        meaning = CodeOf(kConnectRows, facts.osError, EErrorCode::eUnreachable);
    return Failure(meaning, "curl " + std::to_string(code) + ": " + std::string(text));
}

} // namespace kesdk::impl
