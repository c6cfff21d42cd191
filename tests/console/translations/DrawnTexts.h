// What a widget writes when it draws itself.
#pragma once

#include <QtCore/QStringList>

class QWidget;

// The pieces of text as they are drawn, those of the widgets in it too: what is elided is so here.
QStringList DrawnTexts(QWidget& widget);
