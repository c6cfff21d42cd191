#include "console/settings/TSettingNote.h"

#include "console/settings/Breakable.h"
#include "hostimpl/Theme.h"

namespace {

constexpr int indentPixels = 16;
constexpr QPalette::ColorRole faultRole = QPalette::BrightText;
constexpr QPalette::ColorRole hintRole = QPalette::PlaceholderText;
const QString faultSign = QStringLiteral("\u26a0 "); // a triangle with an exclamation mark

} // namespace

namespace console {

TSettingNote::TSettingNote(QWidget* parent) : QLabel(parent)
{
    setWordWrap(true);
    setTextFormat(Qt::PlainText);
    setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    setIndent(indentPixels);
}

TSettingNote::~TSettingNote() = default;

void TSettingNote::Tell(const QString& fault, const QString& hint)
{
    setForegroundRole(fault.isEmpty() ? hintRole : faultRole);
    setText(Breakable(fault.isEmpty() ? hint : faultSign + fault));
}

bool TSettingNote::HasFault() const
{
    return foregroundRole() == faultRole;
}

QString TSettingNote::Text() const
{
    return WithoutBreaks(text());
}

} // namespace console
