// Writes problems of the host framework to the user log, which the dealer reads.
#pragma once

#include "host/ConfigManager.h"

#include <QtCore/QString>

namespace hostimpl {

constexpr int CONSOLE_LOG = 0; // the only log

// Writes nothing if the user log does not take such entries. From any thread.
void ReportToDealer(ConfigManager& config, const QString& problem);

} // namespace hostimpl
