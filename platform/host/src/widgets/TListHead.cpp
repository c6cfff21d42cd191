#include "widgets/TListHead.h"

#include "host/TListWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Theme.h"

#include <QtCore/QEvent>
#include <QtCore/QLocale>
#include <QtGui/QGuiApplication>
#include <QtGui/QInputMethod>
#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

#include <algorithm>

namespace {

constexpr int GAP = 4;
constexpr int TEXT_MARGIN = 10;
constexpr int MARGINS = 24; // beside a button's caption

class TSearchField : public QLineEdit
{
public:
    explicit TSearchField(QWidget* parent) : QLineEdit(parent)
    {
        constexpr int margin = hostimpl::FOCUS_RING;
        setTextMargins(margin, margin, margin, margin);
    }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QLineEdit::paintEvent(event);
        if (hasFocus()) {
            QPainter painter(this);
            hostimpl::DrawFocusRing(painter, rect());
        }
    }
};

QString Number(int number)
{
    return QLocale().toString(number);
}

TPushButton* NewButton(QWidget* parent)
{
    return new TPushButton(parent, QString(), QStringLiteral("NewStandardButton"),
                           QStringLiteral("NewStandardButtonSelected"), 0, QString());
}

} // namespace

TListHead::TListHead(QWidget* parent)
    : QWidget(parent),
      m_text(new QLabel(this)),
      m_edit(new TSearchField(this)),
      m_all(NewButton(this)),
      m_search(NewButton(this))
{
    m_text->setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_text->setMinimumWidth(1); // else the buttons leave the list
    m_edit->setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    m_edit->setPlaceholderText(TListWidget::tr("Search names"));
    m_edit->setInputMethodHints(Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText);
    m_edit->setFocusPolicy(Qt::ClickFocus);
    m_edit->installEventFilter(this);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(TEXT_MARGIN, 0, 0, GAP);
    row->setSpacing(GAP);
    row->addWidget(m_text, 1);
    row->addWidget(m_edit, 2);
    row->addWidget(m_all);
    row->addWidget(m_search);
    FitFonts();
    connect(m_edit, &QLineEdit::textChanged, this, &TListHead::WantedChanged);
    connect(m_all, &TPushButton::clicked, this,
            [this] { Q_EMIT AllWanted(m_counts.selected < m_counts.found); });
    // A touch on this button leaves the focus in the entry field, so that the button ends the
    // search.
    m_search->setFocusPolicy(Qt::TabFocus);
    connect(m_search, &TPushButton::clicked, this, [this] {
        if (m_isTyping || !Wanted().isEmpty()) {
            Q_EMIT SearchLeft(); // the list takes the focus before the entry field hides
            EndSearch();
        } else {
            StartSearch({});
            QGuiApplication::inputMethod()->show(); // Qt shows it after a touch on the field only
        }
    });
    ShowParts();
}

TListHead::~TListHead()
{
    m_edit->removeEventFilter(this);
}

void TListHead::FitFonts()
{
    for (QWidget* const part : {static_cast<QWidget*>(m_edit), static_cast<QWidget*>(m_all),
                                static_cast<QWidget*>(m_search)}) {
        part->setFixedHeight(Height() - GAP);
    }
    const QFontMetrics metrics(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    m_all->setFixedWidth(
        std::max({hostimpl::TOUCH_SIZE, metrics.horizontalAdvance(TListWidget::tr("All")) + MARGINS,
                  metrics.horizontalAdvance(TListWidget::tr("None")) + MARGINS}));
    m_search->setFixedWidth(hostimpl::SMALL_TOUCH_SIZE);
    FitText();
}

// The buttons have the size of a touch target, and the count has place for two lines.
int TListHead::Height()
{
    const QFontMetrics metrics(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    return std::max(hostimpl::SMALL_TOUCH_SIZE, 2 * metrics.height()) + GAP;
}

void TListHead::SetFocusBefore(QWidget& widget)
{
    setTabOrder(m_all, m_search);
    setTabOrder(m_search, &widget);
}

void TListHead::Show(const TCounts& counts)
{
    m_counts = counts;
    ShowParts();
}

QString TListHead::Wanted() const
{
    return m_edit->text().trimmed();
}

bool TListHead::IsTyping() const
{
    return m_isTyping;
}

void TListHead::StartSearch(const QString& text)
{
    m_isTyping = true;
    m_edit->setText(text);
    ShowParts();
    m_edit->setFocus(Qt::OtherFocusReason);
}

void TListHead::EndSearch()
{
    m_isTyping = false;
    m_edit->clear();
    ShowParts();
}

// The whole text, and a shorter one. A search needs a second line. It is short, because the buttons
// leave little room.
QStringList TListHead::Texts() const
{
    const QString hidden = TListWidget::tr("%1 hidden").arg(Number(m_counts.selectedHidden));
    if (m_isTyping) {
        return {hidden};
    }
    const QString found = TListWidget::tr("%1 found: %2").arg(Number(m_counts.found), Wanted());
    const QString more = Wanted().isEmpty()
                             ? QString()
                             : QLatin1Char('\n') + (m_counts.selectedHidden == 0 ? found : hidden);
    QStringList texts{TListWidget::tr("%1 of %2 selected"), QStringLiteral("%1/%2")};
    for (QString& text : texts) {
        text = text.arg(Number(m_counts.selected), Number(m_counts.names)) + more;
    }
    return texts;
}

// A long text gets narrower letters of the same height. If they are not enough, it loses its words,
// then a part of it.
void TListHead::FitText()
{
    layout()->activate();
    const QStringList texts = Texts();
    m_text->setToolTip(texts.first());
    m_text->setAccessibleName(texts.first());
    const auto fits = [this](const QFont& font) {
        m_text->setFont(font);
        return IsTextInFull();
    };
    for (const QString& text : texts) {
        m_text->setText(text);
        if (fits(hostimpl::NarrowFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption), fits))) {
            return;
        }
    }
    // Each translation begins or ends its line with the number of hidden names, so only the middle
    // of the line may go.
    const auto mode = m_counts.selectedHidden > 0 ? Qt::ElideMiddle : Qt::ElideRight;
    QStringList lines = m_text->text().split(QLatin1Char('\n'));
    for (QString& line : lines) {
        line = m_text->fontMetrics().elidedText(line, mode, m_text->width());
    }
    m_text->setText(lines.join(QLatin1Char('\n')));
}

bool TListHead::IsTextInFull() const
{
    return m_text->heightForWidth(m_text->width()) <= m_text->height() &&
           m_text->minimumSizeHint().width() <= m_text->width();
}

void TListHead::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    FitText();
}

void TListHead::ShowParts()
{
    m_text->setVisible(!m_isTyping || m_counts.selectedHidden > 0);
    m_edit->setVisible(m_isTyping);
    const bool isAll = m_counts.found > 0 && m_counts.selected >= m_counts.found;
    m_all->SetCaption(isAll ? TListWidget::tr("None") : TListWidget::tr("All"), QString());
    m_all->SetToolTip(isAll ? TListWidget::tr("Select no name")
                            : TListWidget::tr("Select all shown names"));
    m_all->setEnabled(m_counts.found > 0);
    m_all->setVisible(!m_isTyping);
    const bool isOpen = m_isTyping || !Wanted().isEmpty();
    m_search->setIcon(
        hostimpl::ThemeIcon(isOpen ? QStringLiteral("close") : QStringLiteral("search")));
    m_search->SetToolTip(isOpen ? TListWidget::tr("Show all names again")
                                : TListWidget::tr("Show only names with a text"));
    FitText();
}

// Without a text the entry field stays: the button that takes the focus ends the search.
bool TListHead::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusOut && !Wanted().isEmpty()) {
        m_isTyping = false;
        ShowParts();
    }
    return QWidget::eventFilter(watched, event);
}
