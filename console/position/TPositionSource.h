// The interface of position sources.
#pragma once

namespace console {

// Lives on the thread that constructs it, which must run an event loop. The destructor closes the
// connection and reports to the monitor that the source has ended.
class TPositionSource
{
public:
    virtual ~TPositionSource() = default;
    // Returns at once. Fixes come from the event loop.
    virtual void Start() = 0;
};

} // namespace console
