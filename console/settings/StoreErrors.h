// Texts for the operator about settings that could not be stored.
#pragma once

#include <QtCore/QString>

namespace console {

// `error` is an errno of a failed write. Empty if it is 0. In the operator's language.
QString SettingsFault(int error);

} // namespace console
