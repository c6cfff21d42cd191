#include "service/base/Random.h"

#include "service/base/Encoding.h"

#include <openssl/rand.h>

#include <stdexcept>
#include <vector>

namespace kelvo {

std::string randomHex(std::size_t bytes)
{
    std::vector<unsigned char> raw(bytes);
    if (RAND_bytes(raw.data(), static_cast<int>(raw.size())) != 1) {
        throw std::runtime_error("the system gives no random bytes");
    }
    return toHex(raw);
}

} // namespace kelvo
