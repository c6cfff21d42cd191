// How the console looks: colours by day and by night, fonts, sizes, backgrounds of buttons.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QMetaType>
#include <QtGui/QColor>
#include <QtGui/QFont>
#include <QtGui/QIcon>

class QPainter;
class QRect;
class QString;
class QStringList;

namespace hostimpl {

enum class ETheme : int { eDay = 0, eNight = 1 };

// A text is drawn only on the grounds that stand beside it; there its contrast is 7:1 at least.
enum class EColour : int {
    eWindow = 0,         // ground of a screen
    ePanel,              // ground of rows, lists and dialogs
    eText,               // on window and panel
    eMutedText,          // names of values; on window and panel
    eOffText,            // what is not offered now; on window, panel and off
    eOff,                // ground of what is not offered now
    eBorder,             // around panels and fields
    eButton,             // ground of a button
    eButtonText,         // on button
    eButtonSelected,     // ground of a button that is pressed or has the focus
    eButtonSelectedText, // on button selected
    eSelected,           // ground of an entry that is selected, filled part of a bar
    eSelectedText,       // on selected
    eFocus,              // ring around what has the focus
    eAlert,              // something is wrong; on window and panel
    eGood,               // something works; on window and panel
};
constexpr int COLOUR_COUNT = static_cast<int>(EColour::eGood) + 1;

enum class EFont : int { eCaption = 0, eBody, eTitle };

// What a gloved finger hits, pixels.
constexpr int TOUCH_SIZE = 73;
// The thickness of the ring around what has the focus, pixels.
constexpr int FOCUS_RING = 4;

// Everything of the console is drawn with it from now on, what is shown already too. Needs the
// application object. Main thread, as all that follows.
CONSOLEHOST_EXPORT void SetTheme(ETheme theme);
// By day until another one is set.
CONSOLEHOST_EXPORT ETheme CurrentTheme();

CONSOLEHOST_EXPORT QColor ThemeColour(EColour colour);
CONSOLEHOST_EXPORT QColor ThemeColour(EColour colour, ETheme theme);
CONSOLEHOST_EXPORT QFont ThemeFont(EFont font);
// The same typeface at another size, which is made readable if it is not.
CONSOLEHOST_EXPORT QFont ThemeFont(int sizePixels);

// A picture of the console by its name, in the colours of the theme at the time it is drawn. An
// unknown name gives a neutral one, an empty one none.
CONSOLEHOST_EXPORT QIcon ThemeIcon(const QString& name);
CONSOLEHOST_EXPORT QStringList ThemeIconNames();

// Grounds of buttons by name: "NewStandardButton", "NewStandardButtonSelected",
// "NewDisabledButton"; any other name is drawn as the first.
CONSOLEHOST_EXPORT void DrawBackground(QPainter& painter, const QRect& place, const QString& name);
CONSOLEHOST_EXPORT QColor BackgroundTextColour(const QString& name);
// The ring goes inside of `place`.
CONSOLEHOST_EXPORT void DrawFocusRing(QPainter& painter, const QRect& place);
// The ground of a row or a dialog.
CONSOLEHOST_EXPORT void DrawPanel(QPainter& painter, const QRect& place);

} // namespace hostimpl
