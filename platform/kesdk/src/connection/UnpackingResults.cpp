#include "connection/UnpackingResults.h"

#include "kesdkimpl/Unpacking.h"

#include <exception>
#include <mutex>
#include <utility>

namespace kesdk::impl {

namespace {

struct Receiver
{
    std::mutex mutex; // guards `current`; held while its handler runs
    const UnpackingResults* current = nullptr;
};

// A function's static, so that no code runs at load.
Receiver& TheReceiver()
{
    static Receiver receiver;
    return receiver;
}

} // namespace

UnpackingResults::UnpackingResults(Handler handler) : m_handler(std::move(handler))
{
    const std::lock_guard lock(TheReceiver().mutex);
    TheReceiver().current = this;
}

UnpackingResults::~UnpackingResults()
{
    const std::lock_guard lock(TheReceiver().mutex);
    if (TheReceiver().current == this)
        TheReceiver().current = nullptr;
}

} // namespace kesdk::impl

namespace kesdkimpl {

void NoteUnpacking(const char* path, const char* errorUtf8) noexcept
{
    try {
        auto& receiver = kesdk::impl::TheReceiver();
        const std::lock_guard lock(receiver.mutex);
        if (receiver.current)
            receiver.current->Take(path, errorUtf8);
    } catch (const std::exception&) {
        // The plug-in's Unzip must not fail because of a report.
    }
}

} // namespace kesdkimpl
