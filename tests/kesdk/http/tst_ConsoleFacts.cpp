// The real facts about the console's sockets.
#include "http/ConsoleFacts.h"
#include "transfer/FileHandle.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

namespace kesdk::impl {

TEST(ConsoleFacts, KeepsTheAddressOfALocalSocket)
{
    const FileHandle socket(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_FALSE(RealConsoleFacts().hasLostAddress(socket.Get()));
}

TEST(ConsoleFacts, FindsNoLostAddressWithoutAnAddress)
{
    const FileHandle local(::socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_TRUE(local.IsOpen());
    EXPECT_FALSE(RealConsoleFacts().hasLostAddress(local.Get()));
    EXPECT_FALSE(RealConsoleFacts().hasLostAddress(-1));
}

} // namespace kesdk::impl
