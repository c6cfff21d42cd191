#include "service/base/Output.h"

#include "service/base/Files.h"

#include <iostream>

#include <unistd.h>

namespace kelvo {

Output::Output() : before_(std::cout.rdbuf(this))
{
    setp(bytes_.begin(), bytes_.end());
    std::cout.exceptions(std::ios::badbit);
    std::cerr.tie(nullptr); // a message is written even if stdout is full
}

Output::~Output()
{
    try {
        sync();
    } catch (const OutputFailed&) { // the command has failed already
    }
    std::cout.exceptions(std::ios::goodbit);
    std::cout.rdbuf(before_);
    std::cerr.tie(&std::cout);
}

Output::int_type Output::overflow(int_type next)
{
    sync();
    return traits_type::eq_int_type(next, traits_type::eof())
               ? traits_type::not_eof(next)
               : sputc(traits_type::to_char_type(next));
}

int Output::sync()
{
    const auto size = static_cast<std::size_t>(pptr() - pbase());
    setp(bytes_.begin(), bytes_.end()); // after a failure the bytes are not written again
    try {
        writeAll(STDOUT_FILENO, bytes_.data(), size);
    } catch (const std::system_error& error) {
        throw OutputFailed(error.code());
    }
    return 0;
}

} // namespace kelvo
