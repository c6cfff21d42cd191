// The on-screen keyboard, where one is installed.
#pragma once

class QWidget;

namespace console {

// Has Qt use it, if it is installed and no other input method is asked for. Before there is an
// application object.
void PrepareKeyboard();

// Null without one, which is nothing to tell of. `parent` owns it. See console/keyboard.
QWidget* LoadKeyboard(QWidget* parent);

} // namespace console
