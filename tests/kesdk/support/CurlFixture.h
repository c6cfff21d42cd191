// The transport, and a TLS peer with a certificate that the transport trusts.
#pragma once

#include "http/CurlTransport.h"
#include "support/TlsPeer.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace kesdk::impl {

using test::TlsPeer;

inline const char* const kHello =
    "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nX-Name:  value \r\n\r\nhello";

// Gives every request of a connection the same answer.
inline TlsPeer::Script Always(const std::string& answer)
{
    return [answer](TlsPeer::Session& session) {
        while (!session.ReadHead().empty())
            session.Write(answer);
    };
}

// A body of zeros.
class Zeros : public BodySource
{
public:
    explicit Zeros(std::int64_t sizeBytes) : m_sizeBytes(sizeBytes) {}
    std::int64_t LengthBytes() const override { return m_sizeBytes; }
    std::ptrdiff_t Read(char* buffer, std::size_t sizeBytes) override
    {
        const auto given = static_cast<std::size_t>(
            std::min(m_sizeBytes - m_givenBytes, static_cast<std::int64_t>(sizeBytes)));
        std::fill_n(buffer, given, '\0');
        m_givenBytes += static_cast<std::int64_t>(given);
        return static_cast<std::ptrdiff_t>(given);
    }
    bool IsGiven() const { return m_givenBytes == m_sizeBytes; }

private:
    const std::int64_t m_sizeBytes;
    std::int64_t m_givenBytes = 0;
};

// Answers the first request. The next request ends its connection, and later connections get
// `plainAnswer` without TLS.
class PeerThatStopsTls
{
public:
    PeerThatStopsTls(test::Identity identity, const std::string& plainAnswer)
        : m_peer(std::move(identity), [this, plainAnswer](TlsPeer::Session& session) {
              session.ReadHead();
              session.Write(kHello);
              session.ReadHead();
              m_peer.StopTls(plainAnswer);
          })
    {}
    std::string Url() const { return m_peer.Url(); }

private:
    TlsPeer m_peer;
};

inline const char* const kPortalAnswer =
    "HTTP/1.1 302 Found\r\nLocation: http://login.test/\r\n\r\n";

class CurlTransportTest : public testing::Test
{
protected:
    std::shared_ptr<const TrustStore> Trust() const
    {
        return std::make_shared<const TrustStore>(folder.Write("ca.pem", authority.Pem()));
    }
    test::Identity GoodIdentity() const { return authority.Issue("IP:127.0.0.1", -1, 1); }

    kelvo::test::TempFolder folder;
    test::TestAuthority authority;
    HttpRequest request;
};

} // namespace kesdk::impl
