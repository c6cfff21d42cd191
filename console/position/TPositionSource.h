// What brings positions.
#pragma once

namespace console {

// Lives on the thread that makes it, which runs an event loop; the destructor closes what is open
// and tells the monitor that the source has ended.
class TPositionSource
{
public:
    virtual ~TPositionSource() = default;
    // Returns at once; what comes is brought from the event loop.
    virtual void Start() = 0;
};

} // namespace console
