// The logging category of the host framework's own messages.
#pragma once

#include <QtCore/QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcHost)
