// The transport, and a TLS peer with a certificate that the transport trusts.
#pragma once

#include "http/CurlTransport.h"
#include "support/TlsPeer.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

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
