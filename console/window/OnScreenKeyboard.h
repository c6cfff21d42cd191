// Finds and loads the on-screen keyboard.
#pragma once

class QWidget;

namespace console {

// Selects the on-screen keyboard as Qt's input method, if it is installed and the environment names
// no other input method. Call it before the application object is constructed.
void PrepareKeyboard();

// Loads the keyboard from console/keyboard; null if there is none, which is not an error. `parent`
// owns the keyboard.
QWidget* LoadKeyboard(QWidget* parent);

} // namespace console
