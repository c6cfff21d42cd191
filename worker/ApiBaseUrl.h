// The base URL of the service's API.
#pragma once

#include <QtCore/QString>

// https://HOST/kelvo-api. HOST is the environment's KELVO_API_HOST (host or host:port), or else the
// build's default. The value is set once, when the library is loaded.
extern const QString KELVO_API_BASE_URL;
