// Writes to the user log the details that the operator's error records do not have.
#pragma once

#include <QtCore/QString>

// Writes only if the host has enabled such entries. Worker thread.
void WriteWorkerLog(const QString& text);
