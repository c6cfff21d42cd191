#include "console/window/TLinkBanner.h"

#include "hostimpl/Theme.h"

#include <QtCore/QEvent>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>

namespace {

constexpr int longText = 100; // letters

} // namespace

namespace console {

using kesdkimpl::ESession;

TLinkBanner::TLinkBanner(QWidget* parent) : QFrame(parent), m_text(new QLabel)
{
    setAutoFillBackground(true);
    m_text->setWordWrap(true);
    m_text->setTextFormat(Qt::RichText);
    m_text->setTextInteractionFlags(Qt::NoTextInteraction);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(16, 8, 16, 8);
    row->addWidget(m_text, 1);
    ShowColours();
    hide();
}

// By night the colours of the day would dazzle.
void TLinkBanner::ShowColours()
{
    QPalette colours = palette();
    colours.setColor(QPalette::Window, hostimpl::ThemeColour(hostimpl::EColour::eWarning));
    colours.setColor(QPalette::WindowText, hostimpl::ThemeColour(hostimpl::EColour::eWarningText));
    if (colours != palette()) {
        setPalette(colours);
        m_text->setPalette(colours);
    }
}

void TLinkBanner::changeEvent(QEvent* event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        ShowColours();
    }
}

void TLinkBanner::Show(ESession session, const QString& reason)
{
    QString text;
    if (session == ESession::eLoginFailed) {
        text = tr("The login has failed.");
        if (!reason.isEmpty()) {
            text += QLatin1Char(' ') + reason;
        }
    } else if (session == ESession::eSessionEnded) {
        text = tr("The connection to the service has ended. Log in again to go on.");
    }
    // A long reason must leave room for the page on a low display.
    m_text->setFont(hostimpl::ThemeFont(text.size() > longText ? hostimpl::EFont::eCaption
                                                               : hostimpl::EFont::eBody));
    m_text->setText(text);
    setVisible(!text.isEmpty());
}

QString TLinkBanner::Text() const
{
    return m_text->text();
}

} // namespace console
