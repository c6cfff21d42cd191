// A store that the service depends on does not serve now.
#pragma once

#include <stdexcept>

namespace kelvo {

/** Later attempts may succeed. The text is for the log and names no secret. */
class Unavailable : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace kelvo
