// simulated_gateway COMMAND [ARGUMENT...]: runs the command while the simulated object store
// answers. The variable KELVO_TEST_BUCKET holds the address of an empty bucket, AWS_ACCESS_KEY_ID
// and AWS_SECRET_ACCESS_KEY the credentials. The exit code is the command's.
#include "tests/service/support/ObjectGateway.h"

#include <cstdio>
#include <cstdlib>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: simulated_gateway COMMAND [ARGUMENT...]\n");
        return 2;
    }
    const kelvo::test::ObjectGateway gateway;
    const auto credentials = kelvo::test::ObjectGateway::credentials();
    const auto address = gateway.address();
    const std::string bucket = "s3://" + address.bucket + "?endpoint=" + address.endpoint;
    ::setenv("KELVO_TEST_BUCKET", bucket.c_str(), 1);
    ::setenv("AWS_ACCESS_KEY_ID", credentials.accessKey.c_str(), 1);
    ::setenv("AWS_SECRET_ACCESS_KEY", credentials.secretKey.c_str(), 1);
    pid_t child = 0;
    int status = 0;
    if (::posix_spawnp(&child, argv[1], nullptr, nullptr, argv + 1, environ) != 0 ||
        ::waitpid(child, &status, 0) != child) {
        std::perror("simulated_gateway");
        return 2;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
