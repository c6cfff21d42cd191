// The lines that the headless console prints about the hub.
#pragma once

#include "console/session/HubEvent.h"

#include <QtCore/QByteArray>

class TKelvoInterface;

namespace console {

// "signal NAME {ARGUMENTS}". The arguments are JSON, so that no text breaks the line.
QByteArray SignalLine(const THubEvent& event);

// "list {"files":[{"id":..,"name":..}],"project":KIND}"
QByteArray ListLine(EKelvoProjects project, const KelvoFileInfoList& files);

// "status {FLAGS}"
QByteArray StatusLine(TKelvoInterface& hub);

} // namespace console
