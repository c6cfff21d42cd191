#include "console/window/TLinkBanner.h"

#include "hostimpl/Theme.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>

namespace {

// Black on amber is readable by day and by night, in each theme.
const QColor signColour(0xff, 0xc1, 0x07);

} // namespace

namespace console {

using kesdkimpl::ESession;

TLinkBanner::TLinkBanner(QWidget* parent) : QFrame(parent), m_text(new QLabel)
{
    setAutoFillBackground(true);
    QPalette colours = palette();
    colours.setColor(QPalette::Window, signColour);
    colours.setColor(QPalette::WindowText, Qt::black);
    setPalette(colours);
    m_text->setPalette(colours);

    m_text->setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    m_text->setWordWrap(true);
    m_text->setTextFormat(Qt::RichText);
    m_text->setTextInteractionFlags(Qt::NoTextInteraction);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(16, 8, 16, 8);
    row->addWidget(m_text, 1);
    hide();
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
    m_text->setText(text);
    setVisible(!text.isEmpty());
}

QString TLinkBanner::Text() const
{
    return m_text->text();
}

} // namespace console
