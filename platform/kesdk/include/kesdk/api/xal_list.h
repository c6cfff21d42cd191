// The SDK's list container: a doubly linked list with the SDK's allocator.
#pragma once

#include <cstddef>
#include <list>
#include <new>

// Allocates list nodes. Stateless: memory taken by one instance may be released by any other.
template <class T>
struct xal_allocator
{
    using value_type = T;

    xal_allocator() noexcept = default;
    template <class U>
    xal_allocator(const xal_allocator<U>&) noexcept
    {}

    T* allocate(std::size_t count) { return static_cast<T*>(::operator new(count * sizeof(T))); }
    void deallocate(T* memory, std::size_t) noexcept { ::operator delete(memory); }

    friend bool operator==(const xal_allocator&, const xal_allocator&) noexcept { return true; }
    friend bool operator!=(const xal_allocator&, const xal_allocator&) noexcept { return false; }
};

template <class T>
using xal_list = std::list<T, xal_allocator<T>>;
