// The console's look: colours by day and by night, fonts, sizes, backgrounds of buttons.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QMetaType>
#include <QtGui/QColor>
#include <QtGui/QFont>
#include <QtGui/QIcon>

#include <algorithm>

class QPainter;
class QRect;
class QString;
class QStringList;

namespace hostimpl {

enum class ETheme : int { eDay = 0, eNight = 1 };

// Backgrounds and foregrounds. The comment of a text colour names its backgrounds. On these
// backgrounds the contrast is 7:1 at least; the text is drawn on no others.
enum class EColour : int {
    eWindow = 0,         // background of a screen
    ePanel,              // background of rows, lists and dialogs
    eText,               // on eWindow and ePanel
    eMutedText,          // names of values; on eWindow and ePanel
    eOffText,            // text of a disabled widget; on eWindow, ePanel and eOff
    eOff,                // background of a disabled widget
    eBorder,             // around panels and fields
    eButton,             // background of a button
    eButtonText,         // on eButton
    eButtonSelected,     // background of a button that is pressed or whose page is shown
    eButtonSelectedText, // on eButtonSelected
    eSelected,           // background of a selected entry, filled part of a bar
    eSelectedText,       // on eSelected
    eFocus,              // ring around the widget that has the focus; nothing else has this hue
    eFocusEdge,          // inner edge of the ring, for grounds on which eFocus is hard to see
    eAlert,              // an error; on eWindow and ePanel
    eGood,               // a success; on eWindow and ePanel
    eWarning,            // background of a warning; nothing else has this hue
    eWarningText,        // on eWarning
};
constexpr int COLOUR_COUNT = static_cast<int>(EColour::eWarningText) + 1;

enum class EFont : int { eCaption = 0, eBody, eTitle };

// The smallest size of a touch target, in pixels. A finger in a glove can hit a target of this
// size.
constexpr int TOUCH_SIZE = 73;
// The same, where a screen has no room for more: 9 mm on each display.
constexpr int SMALL_TOUCH_SIZE = 56;
// The thickness of the focus ring, in pixels.
constexpr int FOCUS_RING = 4;

// The whole console is drawn with `theme` from now on; visible widgets are drawn again. Needs the
// application object. Main thread; so are the functions below.
CONSOLEHOST_EXPORT void SetTheme(ETheme theme);
// ETheme::eDay until SetTheme() is called.
CONSOLEHOST_EXPORT ETheme CurrentTheme();

CONSOLEHOST_EXPORT QColor ThemeColour(EColour colour);
CONSOLEHOST_EXPORT QColor ThemeColour(EColour colour, ETheme theme);
// The sizes of ThemeFont() from now on, also for widgets that have a font of ThemeFont(EFont). The
// other widgets follow at the next SetTheme(). `pixelMillimetres` is the size of one pixel of the
// layout, `factor` enlarges all texts.
CONSOLEHOST_EXPORT void SetTextSize(double pixelMillimetres, double factor);
// A capital letter of eBody is seen under 16 minutes of arc from 1 m away, of eCaption under 12.
CONSOLEHOST_EXPORT QFont ThemeFont(EFont font);
// The same typeface in another size. A size that is too small to read is enlarged.
CONSOLEHOST_EXPORT QFont ThemeFont(int sizePixels);

// The narrowest letters, in percent of the typeface's own width. Narrower letters are hard to read:
// these have three quarters of the width of the letters of ThemeFont().
constexpr int LEAST_STRETCH = 60;
// `font` with letters of the same height that are narrower until `fits(font)`. The narrowest
// letters are the result even if they do not fit.
template <typename TFits>
QFont NarrowFont(QFont font, const TFits& fits)
{
    constexpr int STEP = 5;
    while (font.stretch() > LEAST_STRETCH && !fits(font)) {
        font.setStretch(std::max(LEAST_STRETCH, font.stretch() - STEP));
    }
    return font;
}

// The console's icon of this name. The icon takes the colours of the theme at each drawing. An
// unknown name gives a neutral icon, an empty name a null icon.
CONSOLEHOST_EXPORT QIcon ThemeIcon(const QString& name);
CONSOLEHOST_EXPORT QStringList ThemeIconNames();

// Draws a button's background by its name: "NewStandardButton", "NewStandardButtonSelected" or
// "NewDisabledButton". An unknown name is drawn as "NewStandardButton".
CONSOLEHOST_EXPORT void DrawBackground(QPainter& painter, const QRect& place, const QString& name);
CONSOLEHOST_EXPORT QColor BackgroundTextColour(const QString& name);
// The ring lies inside of `place`.
CONSOLEHOST_EXPORT void DrawFocusRing(QPainter& painter, const QRect& place);
// Draws the background of a row or a dialog.
CONSOLEHOST_EXPORT void DrawPanel(QPainter& painter, const QRect& place);

} // namespace hostimpl
