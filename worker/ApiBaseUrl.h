// Where the service's API is.
#pragma once

#include <QtCore/QString>

// https://HOST/kelvo-api. The host is the build's, unless KELVO_API_HOST (host or host:port) is in
// the environment when the library is loaded. Set once, before anything of the plug-in runs.
extern const QString KELVO_API_BASE_URL;
