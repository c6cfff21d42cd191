// Tells the user log, which the dealer reads, of a problem of the host framework.
#pragma once

#include "host/ConfigManager.h"

#include <QtCore/QString>

namespace hostimpl {

// If such entries are wanted. From any thread.
void TellDealer(ConfigManager& config, const QString& problem);

} // namespace hostimpl
