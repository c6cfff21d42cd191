// Tells the user log of what the operator's records cannot say.
#pragma once

#include <QtCore/QString>

// If the host wants such entries. The worker's thread.
void WriteWorkerLog(const QString& text);
