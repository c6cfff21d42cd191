#include "widgets/TMessageText.h"

#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"

#include <QtCore/QRegularExpression>
#include <QtGui/QAbstractTextDocumentLayout>
#include <QtGui/QPainter>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QScroller>

#include <cmath>
#include <memory>

namespace {

constexpr int RING_PLACE = hostimpl::FOCUS_RING + 2; // pixels

const char* const ALLOWED_TAGS[] = {"b",  "strong", "i",  "em", "u",  "br", "p",
                                    "ul", "ol",     "li", "h1", "h2", "h3"};

bool IsAllowed(const QString& tag)
{
    for (const char* const allowed : ALLOWED_TAGS) {
        if (tag.compare(QLatin1String(allowed), Qt::CaseInsensitive) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

// Entities of a rich message stay as they are, because the author of the tags has escaped the text.
QString SafeRichText(const QString& message, bool& isRich)
{
    static const QRegularExpression tags(
        QStringLiteral("<(/?)([A-Za-z][A-Za-z0-9]*)(\\s[^<>]*|/)?>"));
    QString result;
    int place = 0;
    isRich = false;
    const auto appendText = [&](int from, int to) {
        QString text = message.mid(from, to - from);
        text.replace(QLatin1Char('<'), QLatin1String("&lt;"));
        result += text.replace(QLatin1Char('\n'), QLatin1String("<br>"));
    };
    for (auto each = tags.globalMatch(message); each.hasNext();) {
        const QRegularExpressionMatch tag = each.next();
        if (IsAllowed(tag.captured(2))) {
            appendText(place, tag.capturedStart());
            result += QStringLiteral("<%1%2>").arg(tag.captured(1), tag.captured(2));
            place = tag.capturedEnd();
            isRich = true;
        }
    }
    appendText(place, message.size());
    return result;
}

TMessageText::TMessageText(QWidget* parent) : QTextEdit(parent)
{
    setReadOnly(true);
    setTextInteractionFlags(Qt::NoTextInteraction);
    setFrameShape(QFrame::NoFrame);
    document()->setDocumentMargin(0.0);
    setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMinimumHeight(1); // so that a dialog is only as high as its text
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QScroller::grabGesture(viewport(), QScroller::LeftMouseButtonGesture);
    UpdateFocusPolicy();
}

TMessageText::~TMessageText() = default;

// Empty lines at the end would need a scroll bar on a low display.
void TMessageText::SetMessage(const QString& text)
{
    QString message = text;
    while (message.endsWith(QLatin1Char('\n'))) {
        message.chop(1);
    }
    bool isRich = false;
    const QString html = SafeRichText(message, isRich);
    if (isRich) {
        setHtml(html);
    } else {
        setPlainText(message);
    }
    UpdateFocusPolicy();
    verticalScrollBar()->setValue(0); // the place for the ring may have scrolled a low viewport
}

int TMessageText::HeightFor(int width) const
{
    const std::unique_ptr<QTextDocument> copy(document()->clone());
    // Beside its scroll bar the text may need one more line, and then the scroll bar would stay.
    copy->setTextWidth(width - verticalScrollBar()->sizeHint().width());
    return static_cast<int>(std::ceil(copy->size().height())) + 2;
}

bool TMessageText::OnWheelTurned(int steps)
{
    QScrollBar* const bar = verticalScrollBar();
    const int before = bar->value();
    bar->setValue(before + steps * bar->pageStep() / 2);
    return bar->value() != before;
}

// Resources such as pictures are never loaded.
QVariant TMessageText::loadResource(int, const QUrl&)
{
    return {};
}

// The ring lies in the frame: the viewport draws the letters, and Qt repaints only the frame when
// the focus goes.
bool TMessageText::event(QEvent* event)
{
    const bool isTaken = QTextEdit::event(event);
    if (event->type() == QEvent::Paint && hasFocus()) {
        QPainter painter(this);
        hostimpl::DrawFocusRing(painter, viewport()->geometry().adjusted(-RING_PLACE, -RING_PLACE,
                                                                         RING_PLACE, RING_PLACE));
    }
    return isTaken;
}

void TMessageText::resizeEvent(QResizeEvent* event)
{
    QTextEdit::resizeEvent(event);
    UpdateFocusPolicy();
}

// The text takes the focus only if it can be scrolled. Then it leaves place for the focus ring.
void TMessageText::UpdateFocusPolicy()
{
    const bool isLong = HeightFor(width()) > height();
    const int margin = isLong ? RING_PLACE : 0;
    setViewportMargins(margin, margin, margin, margin);
    setFocusPolicy(isLong ? Qt::StrongFocus : Qt::NoFocus);
    if (!isLong && hasFocus()) {
        hostimpl::FocusNear(*this, *parentWidget());
    }
}
