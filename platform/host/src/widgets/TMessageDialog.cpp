#include "host/TMessageDialog.h"

#include "host/TPushButton.h"
#include "hostimpl/Theme.h"
#include "widgets/TBusyIndicator.h"
#include "widgets/TListParts.h"
#include "widgets/TMessageText.h"
#include "widgets/TOutcomeSign.h"
#include "widgets/TPopupLayer.h"
#include "widgets/TTransferProgress.h"

#include <QtCore/QPointer>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>
#include <array>

namespace {

constexpr int WIDTH = 760;
constexpr int MARGIN = 24;
constexpr int BUTTON_COUNT = 2;

struct TButtonRow
{
    TMessageDialog::EMessageDialogType type;
    int button;
    const char* caption;
    void (TMessageDialog::*answer)();
    bool closes;
};

constexpr TButtonRow BUTTONS[] = {
    {TMessageDialog::eAcknowledge, 0, QT_TRANSLATE_NOOP("TMessageDialog", "OK"),
     &TMessageDialog::Ok, true},
    {TMessageDialog::eOperation, 0, QT_TRANSLATE_NOOP("TMessageDialog", "Close"),
     &TMessageDialog::Ok, true},
    {TMessageDialog::eOperation, 1, QT_TRANSLATE_NOOP("TMessageDialog", "Cancel"),
     &TMessageDialog::Cancel, false},
    {TMessageDialog::eQuestion, 0, QT_TRANSLATE_NOOP("TMessageDialog", "Yes"), &TMessageDialog::Yes,
     true},
    {TMessageDialog::eQuestion, 1, QT_TRANSLATE_NOOP("TMessageDialog", "No"), &TMessageDialog::No,
     true},
};

} // namespace

// The dialog's data, and its widgets after Build().
class Q_DECL_HIDDEN TMessageDialog::TContent
{
public:
    TContent(TMessageDialog& dialog, EMessageDialogType dialogType, bool coversScreen)
        : type(dialogType), isFullScreen(coversScreen), m_dialog(dialog)
    {}

    void Build();
    void UpdateBusy();
    // A message has been shown (`isShown`) or hidden: takes or removes the message's sign.
    void UpdateMessageSign(bool isShown);
    void FollowTransfer();
    bool IsBuilt() const { return m_text != nullptr; }
    QSize SizeWithin(const QSize& available) const;
    void Answer(const TButtonRow& row);
    bool HasEnabledButton() const;
    bool IsButtonFocused() const;
    // Does nothing while the operator works elsewhere.
    void FocusOn(TPushButton& button);

    QString title;
    QString message;
    EMessageDialogType type;
    bool isFullScreen;
    QPixmap pixmap;
    std::array<TPushButton*, BUTTON_COUNT> buttons{};

    // A question of a page with a list is about the selected names that the operator sees. The
    // window asks about other things.
    void TakeHiddenNames()
    {
        const hostimpl::TPopupLayer* const layer = hostimpl::TPopupLayer::Of(m_dialog);
        const QWidget* const asker = layer == nullptr ? m_dialog.parentWidget() : layer->Owner();
        if (type == eQuestion && asker != nullptr) {
            m_note = asker->isWindow() ? QString() : HiddenNamesNote(*asker);
            ShowMessage();
        }
    }
    void ShowMessage()
    {
        if (m_text != nullptr) {
            m_text->SetMessage(m_note.isEmpty() ? message : message + QLatin1Char('\n') + m_note);
        }
    }

private:
    void BuildButtons(QVBoxLayout& column);
    int Height(int width) const;
    int TransferHeight(int width) const;

    TMessageDialog& m_dialog;
    QString m_note; // below the message
    QLabel* m_title = nullptr;
    TMessageText* m_text = nullptr;
    TBusyIndicator* m_busy = nullptr;
    TOutcomeSign* m_sign = nullptr; // an operation's outcome, in the place of m_busy
    TTransferProgress* m_transfer = nullptr;
};

void TMessageDialog::TContent::Build()
{
    auto* const column = new QVBoxLayout(&m_dialog);
    column->setContentsMargins(MARGIN, MARGIN, MARGIN, MARGIN);
    column->setSpacing(MARGIN / 2);
    m_title = new QLabel(title, &m_dialog);
    m_title->setTextFormat(Qt::PlainText);
    m_title->setFont(hostimpl::ThemeFont(hostimpl::EFont::eTitle));
    auto* const top = new QHBoxLayout;
    top->addWidget(m_title, 1);
    column->addLayout(top);
    auto* const row = new QHBoxLayout;
    row->setSpacing(MARGIN);
    if (!pixmap.isNull()) {
        auto* const picture = new QLabel(&m_dialog);
        picture->setPixmap(pixmap);
        row->addWidget(picture, 0, Qt::AlignTop);
    }
    m_text = new TMessageText(&m_dialog);
    row->addWidget(m_text, 1);
    if (type == eOperation) {
        m_busy = new TBusyIndicator(&m_dialog);
        m_sign = new TOutcomeSign(hostimpl::EOutcomeOf::eFiles, *m_busy);
        row->addWidget(m_busy, 0, Qt::AlignTop);
    } else if (type == eAcknowledge) {
        m_sign = new TOutcomeSign(hostimpl::EOutcomeOf::eMessage, m_dialog);
        top->addWidget(m_sign); // beside the title: a long text needs the whole width
    }
    column->addLayout(row, 1);
    if (type == eOperation) {
        m_transfer = new TTransferProgress(&m_dialog);
        column->addWidget(m_transfer);
    }
    BuildButtons(*column);
    ShowMessage();
    UpdateBusy();
    if (m_transfer != nullptr) {
        QObject::connect(m_transfer, &TTransferProgress::Changed, &m_dialog,
                         [this] { FollowTransfer(); });
    }
}

void TMessageDialog::TContent::BuildButtons(QVBoxLayout& column)
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(MARGIN);
    row->addStretch(1);
    for (const TButtonRow& each : BUTTONS) {
        if (each.type == type) {
            auto* const button = new TPushButton(
                &m_dialog, TMessageDialog::tr(each.caption), QStringLiteral("NewStandardButton"),
                QStringLiteral("NewStandardButtonSelected"), each.button, QString());
            button->setMinimumWidth(180);
            QObject::connect(button, &TPushButton::Clicked, &m_dialog,
                             [this, &each] { Answer(each); });
            row->addWidget(button);
            buttons.at(static_cast<std::size_t>(each.button)) = button;
        }
    }
    column.addLayout(row);
}

// An answer is emitted once: the second press of a double press finds the dialog hidden. A slot may
// delete the dialog, or show the dialog again with another message.
void TMessageDialog::TContent::Answer(const TButtonRow& row)
{
    if (!m_dialog.isVisible()) {
        return;
    }
    const QPointer<TMessageDialog> dialog(&m_dialog);
    const int showCount = m_dialog.ShowCount();
    if (row.answer == &TMessageDialog::Cancel) {
        TTransferProgress::AnnounceCancel();
    }
    Q_EMIT(m_dialog.*row.answer)();
    if (row.closes && !dialog.isNull() && dialog->ShowCount() == showCount) {
        dialog->CloseWindow();
    }
}

bool TMessageDialog::TContent::HasEnabledButton() const
{
    return std::any_of(buttons.cbegin(), buttons.cend(), [](const TPushButton* button) {
        return button != nullptr && button->isEnabled();
    });
}

bool TMessageDialog::TContent::IsButtonFocused() const
{
    return std::any_of(buttons.cbegin(), buttons.cend(), [this](const TPushButton* button) {
        return button != nullptr && button->isEnabled() && button == m_dialog.focusWidget();
    });
}

void TMessageDialog::TContent::FocusOn(TPushButton& button)
{
    const hostimpl::TPopupLayer* const layer = hostimpl::TPopupLayer::Of(m_dialog);
    if (layer == nullptr || layer->MayTakeFocus()) {
        button.setFocus();
    }
}

void TMessageDialog::TContent::UpdateBusy()
{
    if (m_busy != nullptr) {
        const bool isRunning = !buttons[0]->isEnabled();
        m_transfer->SetRunning(isRunning);
        m_busy->SetRunning(isRunning && m_transfer->IsMoving());
        m_sign->SetEnded(!isRunning);
    }
}

void TMessageDialog::TContent::UpdateMessageSign(bool isShown)
{
    if (type == eAcknowledge) {
        isShown ? m_sign->TakeMessage() : m_sign->ForgetMessage();
    }
}

void TMessageDialog::TContent::FollowTransfer()
{
    UpdateBusy();
    if (m_dialog.isVisible()) {
        m_dialog.Place();
    }
}

int TMessageDialog::TContent::Height(int width) const
{
    const int beside = (m_busy == nullptr ? 0 : m_busy->width() + MARGIN) +
                       (pixmap.isNull() ? 0 : pixmap.width() + MARGIN);
    const int content = std::max({m_text->HeightFor(width - 2 * MARGIN - beside),
                                  m_busy == nullptr ? 0 : m_busy->height(), pixmap.height()});
    const int top =
        std::max(m_title->sizeHint().height(), type == eAcknowledge ? m_sign->height() : 0);
    const int transfer = TransferHeight(width);
    const int gaps = transfer == 0 ? 3 * MARGIN : 3 * MARGIN + MARGIN / 2;
    return top + content + transfer + hostimpl::TOUCH_SIZE + gaps;
}

int TMessageDialog::TContent::TransferHeight(int width) const
{
    return m_transfer == nullptr ? 0 : m_transfer->HeightFor(width - 2 * MARGIN);
}

// On a low display the title leaves its place to the text of the transfer.
QSize TMessageDialog::TContent::SizeWithin(const QSize& available) const
{
    const int width = std::min(WIDTH, available.width());
    const int height = Height(width);
    m_title->setVisible(height <= available.height() || TransferHeight(width) == 0);
    return {width, std::min(height, available.height())};
}

TMessageDialog::TMessageDialog(QWidget* parent, const QString& title, const QString& message,
                               EMessageDialogType type, bool isFullScreen, const QPixmap& pixmap)
    : TPopupWindow(parent), m_content(std::make_unique<TContent>(*this, type, isFullScreen))
{
    m_content->title = title;
    m_content->message = message;
    m_content->pixmap = pixmap;
}

TMessageDialog::~TMessageDialog() = default;

void TMessageDialog::SetMessage(const QString& message)
{
    m_content->message = message;
    m_content->ShowMessage();
    if (isVisible()) {
        m_content->UpdateMessageSign(true);
        Place();
    }
}

QString TMessageDialog::Message() const
{
    return m_content->message;
}

QString TMessageDialog::Title() const
{
    return m_content->title;
}

TMessageDialog::EMessageDialogType TMessageDialog::Type() const
{
    return m_content->type;
}

void TMessageDialog::SetupIfRequired()
{
    if (!m_content->IsBuilt()) {
        m_content->Build();
    }
}

TPushButton* TMessageDialog::GetMessageDialogButton(EMessageDialogButton button) const
{
    const auto index = static_cast<std::size_t>(button);
    return index < m_content->buttons.size() ? m_content->buttons.at(index) : nullptr;
}

void TMessageDialog::EnableButton(EMessageDialogButton button, bool isEnabled)
{
    SetupIfRequired();
    if (TPushButton* const found = GetMessageDialogButton(button)) {
        found->setEnabled(isEnabled);
        m_content->UpdateBusy();
        if (isEnabled && !m_content->IsButtonFocused()) {
            m_content->FocusOn(*found);
        }
    }
}

// Back presses the button that changes nothing: No for a question, otherwise button 0. A dialog
// without an enabled button is hidden, so that the operator is never locked out.
bool TMessageDialog::OnBackPressed()
{
    if (!m_content->HasEnabledButton()) {
        CloseWindow();
        return true;
    }
    const bool isQuestion = m_content->type == eQuestion;
    TPushButton* const button = GetMessageDialogButton(isQuestion ? eButton1 : eButton0);
    if (button != nullptr && button->isEnabled()) {
        button->click();
    }
    return true;
}

QSize TMessageDialog::SizeWithin(const QSize& available) const
{
    if (m_content->isFullScreen || !m_content->IsBuilt()) {
        return available;
    }
    return m_content->SizeWithin(available);
}

// The focus starts on the button that changes nothing: No for a question, otherwise button 0.
void TMessageDialog::setVisible(bool isVisible)
{
    const bool isNew = isVisible && isHidden();
    SetupIfRequired();
    const bool changes = isVisible != !isHidden();
    if (changes) {
        m_content->UpdateMessageSign(isVisible);
    }
    if (isNew) {
        m_content->TakeHiddenNames();
    }
    TPopupWindow::setVisible(isVisible);
    TPushButton* const first = GetMessageDialogButton(Type() == eQuestion ? eButton1 : eButton0);
    if (isNew && first->isEnabled()) {
        m_content->FocusOn(*first);
    }
}
