#include "console/settings/TSettingsPage.h"

#include "console/position/GpsSetting.h"
#include "console/position/SerialPort.h"
#include "console/settings/Breakable.h"
#include "console/settings/Languages.h"
#include "console/settings/Scrolling.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Theme.h"

#include <QtCore/QFile>
#include <QtCore/QSignalBlocker>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QVBoxLayout>

#include <array>

namespace {

using console::TStoredSettings;

constexpr QSize buttonSize(170, PROPERTY_WIDGET_HEIGHT);
constexpr QSize restartSize(220, PROPERTY_WIDGET_HEIGHT);
constexpr int gap = 4;
constexpr QPalette::ColorRole faultRole = QPalette::BrightText;
constexpr QPalette::ColorRole hintRole = QPalette::PlaceholderText;
const QString faultSign = QStringLiteral("\u26a0 "); // a triangle with an exclamation mark

struct TTextRow
{
    const char* iconName;
    const char* name;
    const char* hint;
    const char* whenEmpty;
    QString TStoredSettings::*value;
};

constexpr std::array<TTextRow, 4> textRows = {{
    {"link-up", QT_TRANSLATE_NOOP("console::TSettingsPage", "Service"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Host and port; empty for the usual one"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "The usual one"), &TStoredSettings::service},
    {"lock", QT_TRANSLATE_NOOP("console::TSettingsPage", "Service's certificate"),
     QT_TRANSLATE_NOOP("console::TSettingsPage",
                       "A file with the authority to trust besides the system's"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Only the system's"),
     &TStoredSettings::authorityFile},
    {"gps-fix", QT_TRANSLATE_NOOP("console::TSettingsPage", "Position source"),
     QT_TRANSLATE_NOOP("console::TSettingsPage",
                       "gpsd:HOST:PORT, serial:DEVICE@BAUD or nmea:FILE; empty for none"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "None"), &TStoredSettings::positionSource},
    {"save", QT_TRANSLATE_NOOP("console::TSettingsPage", "Data folder"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Where everything that is received is kept"), "",
     &TStoredSettings::dataFolder},
}};

struct TFlagRow
{
    const char* iconName;
    const char* name;
    const char* off;
    const char* on;
    bool TStoredSettings::*value;
    bool isAtOnce; // not only after Save
};

constexpr std::array<TFlagRow, 3> flagRows = {{
    {"moon", QT_TRANSLATE_NOOP("console::TSettingsPage", "Colours"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Day"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Night"), &TStoredSettings::isNight, true},
    {"user", QT_TRANSLATE_NOOP("console::TSettingsPage", "User level"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Driver: no data exchange"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Operator: everything"),
     &TStoredSettings::isDataExchangeAllowed, false},
    {"Select", QT_TRANSLATE_NOOP("console::TSettingsPage", "Screen"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Window"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Full screen"), &TStoredSettings::isFullScreen,
     true},
}};

constexpr int languageRow = int(textRows.size());
constexpr int firstFlagRow = languageRow + 1;

TPropertyWidget* MakeRow(const char* iconName, const QString& name)
{
    auto* const row = new TPropertyWidget;
    row->SetPropertyIcon(QString::fromLatin1(iconName));
    row->SetPropertyName(name);
    row->setFixedHeight(PROPERTY_WIDGET_HEIGHT);
    return row;
}

// Shows the value. The operator did not choose it.
void ShowFlag(TPropertyWidget& row, bool isOn)
{
    const QSignalBlocker blocker(&row);
    row.SetNumericalValue(isOn ? 1.0 : 0.0);
}

QLabel* MakeTextLabel()
{
    auto* const label = new QLabel;
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    return label;
}

QLabel* MakeNote()
{
    QLabel* const note = MakeTextLabel();
    note->setIndent(4 * gap);
    return note;
}

// Shows the fault if there is a fault, or else the hint.
void Tell(QLabel& note, const QString& fault, const QString& hint)
{
    note.setForegroundRole(fault.isEmpty() ? hintRole : faultRole);
    note.setText(console::Breakable(fault.isEmpty() ? hint : faultSign + fault));
}

// The position source in full, so that two texts for the same source are equal.
QString InFull(const QString& source)
{
    console::TGpsSetting gps;
    QString errorText;
    return console::ParseGpsSetting(source, gps, errorText) ? console::ToText(gps) : source;
}

// The device of a serial source if the device does not exist; otherwise empty. The device may
// appear later.
QString MissingDevice(const QString& source)
{
    console::TGpsSetting gps;
    QString errorText;
    const bool isMissing = console::ParseGpsSetting(source, gps, errorText) &&
                           gps.kind == console::EGpsKind::eSerial && !QFile::exists(gps.path);
    return isMissing ? gps.path : QString();
}

} // namespace

namespace console {

TSettingsPage::TSettingsPage(QWidget* parent) : QWidget(parent), m_message(MakeTextLabel())
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

    m_save = new TPushButton(this, tr("Save"), buttonSize, {}, 0, tr("Keep what is shown"));
    m_discard = new TPushButton(this, tr("Discard"), buttonSize, {}, 0, tr("Show what was kept"));
    m_restart = new TPushButton(this, tr("Restart now"), restartSize, {}, 0,
                                tr("Start the console anew with what was kept"));
    for (TPushButton* const button : {m_save, m_discard}) {
        button->setFixedSize(buttonSize);
    }
    m_restart->setFixedSize(restartSize);
    auto* const bottom = new QHBoxLayout;
    bottom->setContentsMargins(4 * gap, gap, gap, gap);
    // Without its own area a long message would make the page so high that the whole page scrolls.
    QScrollArea* const message = MakeScrollArea(m_message);
    message->setFixedHeight(buttonSize.height());
    bottom->addWidget(message, 1);
    bottom->addWidget(m_restart);
    bottom->addWidget(m_discard);
    bottom->addWidget(m_save);
    auto* const all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addWidget(MakeScrollArea(rows), 1);
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
            if (m_notes.at(index)->foregroundRole() == faultRole) {
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
        m_notes.append(MakeNote());
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

void TSettingsPage::AddPinRow(QVBoxLayout& column)
{
    m_pin = MakeRow("lock", tr("Installer's PIN"));
    m_pin->SetPropertyType(TPropertyWidget::eText, nullptr);
    m_pin->setAllowHideText(true);
    m_pinNote = MakeNote();
    connect(m_pin, &TPropertyWidget::ValueChanged, this, &TSettingsPage::TakePin);
    if (auto* const edit = m_pin->findChild<QLineEdit*>()) {
        edit->setInputMethodHints(edit->inputMethodHints() | Qt::ImhDigitsOnly);
        connect(edit, &QLineEdit::editingFinished, this, &TSettingsPage::CheckPin);
    }
    column.addWidget(m_pin);
    column.addWidget(m_pinNote);
}

void TSettingsPage::Lock()
{
    m_isUnlocked = false;
}

// Switches the installer's rows on or off.
void TSettingsPage::ShowLock()
{
    m_receiver->setEnabled(!IsLocked());
    for (std::size_t row = 0; row < textRows.size(); ++row) {
        m_rows.at(int(row))->setEnabled(!IsLocked());
    }
    for (std::size_t row = 0; row < flagRows.size(); ++row) {
        m_rows.at(firstFlagRow + int(row))->setEnabled(flagRows.at(row).isAtOnce || !IsLocked());
    }
    Tell(*m_pinNote, {},
         IsLocked() ? tr("Enter the PIN to change what is off.")
                    : tr("4 to 8 digits. Without a PIN, everyone can change everything."));
}

// The right PIN unlocks at its last digit.
void TSettingsPage::TakePin()
{
    if (IsLocked() && m_pin->GetTextValue() == m_shown.pin) {
        m_isUnlocked = true;
        ShowLock();
    }
    ShowButtons();
}

void TSettingsPage::CheckPin()
{
    const bool isWrong = IsLocked() && !m_pin->GetTextValue().isEmpty();
    const QString fault =
        isWrong ? tr("The PIN is wrong.") : FaultOf(Entered(), &TStoredSettings::pin);
    if (!fault.isEmpty()) {
        Tell(*m_pinNote, fault, {});
    } else {
        ShowLock();
    }
}

QString TSettingsPage::PinNote() const
{
    return WithoutBreaks(m_pinNote->text());
}

void TSettingsPage::Show(const TStoredSettings& settings)
{
    m_shown = settings;
    for (std::size_t row = 0; row < textRows.size(); ++row) {
        m_rows.at(int(row))->SetTextValue(settings.*textRows.at(row).value);
    }
    m_rows.at(languageRow)->SetNumericalValue(LanguageRow(settings.language));
    for (std::size_t row = 0; row < flagRows.size(); ++row) {
        ShowFlag(*m_rows.at(firstFlagRow + int(row)), settings.*flagRows.at(row).value);
    }
    for (int row = 0; row < m_notes.size(); ++row) {
        ShowNote(row, {});
    }
    m_pin->SetTextValue(IsLocked() ? QString() : settings.pin);
    ShowLock();
    ShowReceiver();
    ShowButtons();
    SetMessage({});
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

void TSettingsPage::ShowDisplay(const TStoredSettings& settings)
{
    for (std::size_t row = 0; row < flagRows.size(); ++row) {
        if (flagRows.at(row).isAtOnce) {
            const bool isOn = settings.*flagRows.at(row).value;
            m_shown.*flagRows.at(row).value = isOn;
            ShowFlag(*m_rows.at(firstFlagRow + int(row)), isOn);
        }
    }
}

void TSettingsPage::TakeDisplay()
{
    const TStoredSettings entered = Entered();
    for (const TFlagRow& row : flagRows) {
        if (row.isAtOnce && entered.*row.value != m_shown.*row.value) {
            ShowDisplay(entered);
            Q_EMIT DisplayChosen(entered);
            return;
        }
    }
}

void TSettingsPage::SetInUse(const TStoredSettings& settings)
{
    m_inUse = settings;
    for (int row = 0; row < m_notes.size(); ++row) {
        ShowNote(row, {});
    }
}

// The choices: no source, gpsd, each port. The last choice is shown for another source; the
// operator cannot choose it.
void TSettingsPage::ShowReceiver()
{
    const QString entered = InFull(Entered().positionSource);
    const int rate = entered.lastIndexOf(QLatin1Char('@'));
    TEditItem item;
    m_sources = QStringList{QString(), InFull(QStringLiteral("gpsd"))};
    item.options.Append(tr("None"));
    item.options.Append(tr("gpsd on this console"));
    const QStringList ports = SerialPorts();
    for (const QString& port : ports) {
        const QString source = QStringLiteral("serial:") + port;
        // A chosen port keeps its rate.
        m_sources << (entered.left(rate) == source ? entered : InFull(source));
        item.options.Append(port.section(QLatin1Char('/'), -1));
    }
    item.options.Append(tr("Another, as entered below"));
    item.optionsEnabled.Set(m_sources.size(), false);
    item.maximum = m_sources.size();
    const int place = m_sources.indexOf(entered);
    item.value = place < 0 ? m_sources.size() : place;
    m_receiver->SetPropertyType(TPropertyWidget::eChoice, &item);
}

void TSettingsPage::TakeReceiver()
{
    const QString source = m_sources.value(int(m_receiver->GetNumericalValue()));
    for (std::size_t row = 0; row < textRows.size(); ++row) {
        if (textRows.at(row).value == &TStoredSettings::positionSource) {
            m_rows.at(int(row))->SetTextValue(source);
            CheckRow(int(row));
        }
    }
}

void TSettingsPage::CheckRow(int row)
{
    ShowNote(row, FaultOf(Entered(), textRows.at(std::size_t(row)).value));
}

void TSettingsPage::ShowNote(int row, const QString& fault)
{
    const TTextRow& text = textRows.at(std::size_t(row));
    const QString stored = m_shown.*text.value;
    const QString device = MissingDevice(m_rows.at(row)->GetTextValue());
    const QString inUse = m_inUse ? *m_inUse.*text.value : stored;
    QString hint = tr(text.hint);
    if (text.value == &TStoredSettings::positionSource && !device.isEmpty()) {
        hint = tr("There is no %1 now.").arg(device);
    } else if (inUse != stored && inUse != InFull(stored)) {
        hint = tr("In use: %1").arg(inUse.isEmpty() ? tr(text.whenEmpty) : inUse);
    }
    Tell(*m_notes.at(row), fault, hint);
}

QString TSettingsPage::Note(int row) const
{
    return WithoutBreaks(m_notes.at(row)->text());
}

TStoredSettings TSettingsPage::Entered() const
{
    TStoredSettings settings = m_shown;
    for (std::size_t row = 0; row < textRows.size(); ++row) {
        settings.*textRows.at(row).value = m_rows.at(int(row))->GetTextValue().trimmed();
    }
    if (!IsLocked()) {
        settings.pin = m_pin->GetTextValue().trimmed();
    }
    const auto language = static_cast<std::size_t>(m_rows.at(languageRow)->GetNumericalValue());
    settings.language = QLatin1String(languages.at(language).code);
    for (std::size_t row = 0; row < flagRows.size(); ++row) {
        settings.*flagRows.at(row).value =
            m_rows.at(firstFlagRow + int(row))->GetNumericalValue() > 0.5;
    }
    return settings;
}

void TSettingsPage::Save()
{
    const TStoredSettings settings = Entered();
    QString errorText;
    if (!CheckStoredSettings(settings, errorText)) {
        for (int row = 0; row < m_notes.size(); ++row) {
            CheckRow(row);
        }
        CheckPin();
        SetMessage(errorText);
        return;
    }
    Q_EMIT SaveRequested(settings);
}

void TSettingsPage::SetMessage(const QString& text)
{
    m_message->setText(Breakable(text));
}

QString TSettingsPage::Message() const
{
    return WithoutBreaks(m_message->text());
}

} // namespace console
