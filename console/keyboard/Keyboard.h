// The function of the on-screen keyboard's library.
#pragma once

class QWidget;

extern "C" {

// Creates the keyboard, which `parent` owns. Null if Qt Virtual Keyboard is not installed. The
// keyboard computes its height from its width. It is visible while a text is edited. Main thread.
__attribute__((visibility("default"))) QWidget* MakeKeyboard(QWidget* parent);
}
