// What the on-screen keyboard's library exports.
#pragma once

class QWidget;

extern "C" {

// A keyboard that is as high as it wants to be at the width it is given, shows itself while a text
// is edited, and is hidden otherwise; `parent` owns it. Null if the keyboard itself is not
// installed. Main thread.
__attribute__((visibility("default"))) QWidget* MakeKeyboard(QWidget* parent);
}
