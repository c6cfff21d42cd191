// The line that the headless console prints about the link.
#pragma once

#include "kesdkimpl/LinkStatus.h"

#include <QtCore/QByteArray>

namespace console {

// "link {...}" with these members:
//   session   "none", "logged out", "login failed", "session ended", "connecting" or "logged in"
//   problem   "none", "no network", "no answer", "network wants login", "clock wrong" or "not
//   trusted"
// If there is a problem, also offlineSince; after a contact, also lastContact (seconds since 1970).
// If the clock is more than a day off the service's, also clockOff, which is true.
// During a transfer also transfer, with direction ("upload", "download"), phase ("moves", "waits",
// "verifies"), name, done and total (bytes), waitsUntil (seconds since 1970) and, once it is known,
// rate (bytes per second).
QByteArray LinkLine(const kesdkimpl::LinkStatus& status);

} // namespace console
