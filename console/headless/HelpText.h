// The text of --help above the options: commands, output and exit statuses.
#pragma once

#include <QtCore/QString>

namespace console {

QString HelpText();

} // namespace console
