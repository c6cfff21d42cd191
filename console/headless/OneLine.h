// Writes texts on one line of output.
#pragma once

#include "core/KelvoRecords.h"

#include <QtCore/QString>

namespace console {

// `text` with escapes for backslashes, line breaks and control characters.
QString OneLine(const QString& text);

// "2 errors: first.zip: why; second.zip: why"
QString OneLine(const KelvoFileTransferErrorDetailsList& errors);

} // namespace console
