// Names of threads, as tools and the kernel's task list show them.
#pragma once

#include <pthread.h>

#include <cstddef>

namespace kesdk::impl {

// Names the calling thread. The kernel takes at most 15 characters.
template <std::size_t Size>
void NameThread(const char (&name)[Size])
{
    static_assert(Size <= 16, "the kernel would refuse the name");
    ::pthread_setname_np(::pthread_self(), name);
}

} // namespace kesdk::impl
