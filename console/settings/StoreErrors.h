// Texts for the operator about settings and passwords that could not be stored.
#pragma once

#include <QtCore/QString>

namespace console {

// `error` is an errno of a failed write. Empty if it is 0. In the operator's language.
QString SettingsFault(int error);
// The same after a login, whose user name and password may be new.
QString LoginFault(int error);

} // namespace console
