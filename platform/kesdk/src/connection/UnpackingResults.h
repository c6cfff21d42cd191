// Receives the console's results of unpacking.
#pragma once

#include <functional>

namespace kesdk::impl {

// Passes the results of kesdkimpl::NoteUnpacking to the object that was constructed last.
//
// Thread safety: safe.
class UnpackingResults
{
public:
    using Handler = std::function<void(const char* path, const char* errorUtf8)>;

    explicit UnpackingResults(Handler handler);
    // When it returns, no call of the handler runs or will start.
    ~UnpackingResults();
    UnpackingResults(const UnpackingResults&) = delete;
    UnpackingResults& operator=(const UnpackingResults&) = delete;

    void Take(const char* path, const char* errorUtf8) const { m_handler(path, errorUtf8); }

private:
    const Handler m_handler;
};

} // namespace kesdk::impl
