#include "console/settings/TSettingsPage.h"

#include "console/settings/Breakable.h"
#include "console/settings/Languages.h"
#include "console/settings/Scrolling.h"
#include "console/settings/SettingRows.h"
#include "console/settings/TSettingNote.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Theme.h"

#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace {

constexpr QSize buttonSize(190, PROPERTY_WIDGET_HEIGHT);
constexpr QSize restartSize(220, PROPERTY_WIDGET_HEIGHT);
constexpr int gap = 4;

} // namespace

namespace console {

TSettingsPage::TSettingsPage(QWidget* parent) : QWidget(parent), m_message(new QLabel)
{
    auto* const rows = new QWidget;
    auto* const column = new QVBoxLayout(rows);
    column->setContentsMargins(gap, gap, gap, gap);
    column->setSpacing(gap);
    AddTextRows(*column);
    AddChoiceRows(*column);
    AddPinRow(*column);
    m_about = new TPushButton(rows, tr("About this console"), buttonSize, {}, 0,
                              tr("Versions, free space, log and licences"));
    m_about->setFixedHeight(buttonSize.height());
    column->addWidget(m_about);
    column->addStretch();

    m_message->setWordWrap(true);
    m_message->setTextFormat(Qt::PlainText);
    m_message->setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    m_message->setMargin(gap);
    m_save = new TPushButton(this, tr("Save"), buttonSize, {}, 0, tr("Keep what is shown"));
    m_discard = new TPushButton(this, tr("Discard"), buttonSize, {}, 0, tr("Show what was kept"));
    m_restart = new TPushButton(this, tr("Restart now"), restartSize, {}, 0,
                                tr("Start the console anew with what was kept"));
    for (TPushButton* const button : {m_save, m_discard}) {
        button->setFixedSize(buttonSize);
    }
    m_restart->setFixedSize(restartSize);
    auto* const bottom = new QHBoxLayout;
    bottom->setContentsMargins(gap, gap, gap, gap);
    bottom->addStretch();
    bottom->addWidget(m_restart);
    bottom->addWidget(m_discard);
    bottom->addWidget(m_save);
    auto* const all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addWidget(MakeScrollArea(rows), 1);
    // Without its own area a long message would make the page so high that the whole page scrolls.
    m_messageArea = MakeScrollArea(m_message);
    m_messageArea->hide();
    all->addWidget(m_messageArea);
    all->addLayout(bottom);

    for (TPropertyWidget* const row : qAsConst(m_rows)) {
        connect(row, &TPropertyWidget::ValueChanged, this, &TSettingsPage::ShowButtons);
    }
    ShowButtons();
    connect(m_restart, &TPushButton::clicked, this, &TSettingsPage::RestartRequested);
    connect(m_about, &TPushButton::clicked, this, &TSettingsPage::AboutRequested);
    connect(m_save, &TPushButton::clicked, this, &TSettingsPage::Save);
    connect(m_discard, &TPushButton::clicked, this, [this] { Show(TStoredSettings(m_shown)); });
}

TSettingsPage::~TSettingsPage() = default;

void TSettingsPage::AddTextRows(QVBoxLayout& column)
{
    for (const TTextRow& row : textRows) {
        const int index = m_rows.size();
        TPropertyWidget* const widget = MakeRow(row.iconName, tr(row.name));
        widget->SetPropertyType(TPropertyWidget::eText, nullptr);
        if (auto* const edit = widget->findChild<QLineEdit*>()) {
            edit->setPlaceholderText(tr(row.whenEmpty));
            connect(edit, &QLineEdit::editingFinished, this, [this, index] { CheckRow(index); });
        }
        connect(widget, &TPropertyWidget::ValueChanged, this, [this, index] {
            if (m_notes.at(index)->HasFault()) {
                CheckRow(index); // the fault goes when the text is valid again
            }
        });
        if (row.value == &TStoredSettings::positionSource) {
            m_receiver = MakeRow("gps-fix", tr("Receiver"));
            connect(m_receiver, &TPropertyWidget::ValueChanged, this, &TSettingsPage::TakeReceiver);
            connect(widget, &TPropertyWidget::ValueChanged, this, &TSettingsPage::ShowReceiver);
            column.addWidget(m_receiver);
        }
        m_rows.append(widget);
        column.addWidget(widget);
        m_notes.append(new TSettingNote);
        column.addWidget(m_notes.last());
    }
}

void TSettingsPage::AddChoiceRows(QVBoxLayout& column)
{
    TEditItem languageItem;
    for (const TLanguage& language : languages) {
        const int index = languageItem.options.Size();
        languageItem.options.Append(QString::fromUtf8(language.name));
        languageItem.optionsEnabled.Set(index, IsLanguageInstalled(QLatin1String(language.code)));
    }
    languageItem.maximum = double(languages.size() - 1);
    m_rows.append(MakeRow("language", tr("Language")));
    m_rows.last()->SetPropertyType(TPropertyWidget::eChoice, &languageItem);
    for (const TFlagRow& row : flagRows) {
        TEditItem item;
        item.options.Append(tr(row.off));
        item.options.Append(tr(row.on));
        item.maximum = 1.0;
        m_rows.append(MakeRow(row.iconName, tr(row.name)));
        m_rows.last()->SetPropertyType(TPropertyWidget::eChoice, &item);
    }
    for (int row = languageRow; row < m_rows.size(); ++row) {
        column.addWidget(m_rows.at(row));
        connect(m_rows.at(row), &TPropertyWidget::ValueChanged, this, &TSettingsPage::TakeDisplay);
    }
}

void TSettingsPage::OfferRestart(bool isOffered)
{
    m_isRestartOffered = isOffered;
    ShowButtons();
}

// The button for a new start takes the place of the button that drops changes.
void TSettingsPage::ShowButtons()
{
    const bool canRestart = m_isRestartOffered && !HasChanges();
    m_restart->setVisible(canRestart);
    m_discard->setVisible(!canRestart);
}

void TSettingsPage::Save()
{
    const QString pinFault = CheckPin();
    const TStoredSettings settings = Entered();
    QString errorText;
    if (!CheckStoredSettings(settings, errorText) || !pinFault.isEmpty()) {
        for (int row = 0; row < m_notes.size(); ++row) {
            CheckRow(row);
        }
        SetMessage(errorText.isEmpty() ? pinFault : errorText);
        return;
    }
    m_isUnlocked = !IsLocked(); // a new PIN is asked for when the page is opened again
    Q_EMIT SaveRequested(settings);
}

void TSettingsPage::SetMessage(const QString& text)
{
    m_message->setText(Breakable(text));
    m_messageArea->setVisible(!text.isEmpty());
    FitMessage();
}

// A narrow page needs more lines.
void TSettingsPage::FitMessage()
{
    const int needed = m_message->heightForWidth(
        std::max(width() - hostimpl::SMALL_TOUCH_SIZE, hostimpl::SMALL_TOUCH_SIZE));
    m_messageArea->setFixedHeight(std::clamp(needed, 0, 2 * hostimpl::TOUCH_SIZE));
}

void TSettingsPage::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    FitMessage();
}

void TSettingsPage::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        FitMessage();
        QTimer::singleShot(0, this, [this] { ScrollTo(focusWidget()); }); // after the layout
    }
}

QString TSettingsPage::Message() const
{
    return WithoutBreaks(m_message->text());
}

} // namespace console
