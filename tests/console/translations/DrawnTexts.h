// The texts that a widget draws.
#pragma once

#include <QtCore/QStringList>

class QWidget;

// The texts as the widget and its child widgets draw them: elided texts are elided here too.
QStringList DrawnTexts(QWidget& widget);

// The size of the smallest font of these texts, in pixels.
int SmallestDrawnText(QWidget& widget);
