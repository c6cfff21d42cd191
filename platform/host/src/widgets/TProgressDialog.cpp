#include "host/TProgressDialog.h"

#include "host/TPushButton.h"
#include "hostimpl/Theme.h"
#include "widgets/TOutcomeSign.h"
#include "widgets/TPopupLayer.h"
#include "widgets/TProgressBar.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace {

constexpr int WIDTH = 760;
constexpr int MARGIN = 24;

} // namespace

class Q_DECL_HIDDEN TProgressDialog::TContent
{
public:
    TContent(TProgressDialog& dialog, const QString& dialogTitle, bool hasButton);

    static void Show(QLabel& label, const QString& text, bool isShown)
    {
        label.setText(text);
        label.setVisible(isShown);
    }

    QLabel title;
    QLabel message;
    TOutcomeSign sign;
    TProgressBar bar;
    QLabel bottomMessage;
    bool isClosable;
};

TProgressDialog::TContent::TContent(TProgressDialog& dialog, const QString& dialogTitle,
                                    bool hasButton)
    : sign(hostimpl::EOutcomeOf::eSetUp, dialog), isClosable(hasButton)
{
    auto* const column = new QVBoxLayout(&dialog);
    column->setContentsMargins(MARGIN, MARGIN, MARGIN, MARGIN);
    column->setSpacing(MARGIN / 2);
    title.setText(dialogTitle);
    title.setFont(hostimpl::ThemeFont(hostimpl::EFont::eTitle));
    for (QLabel* const label : {&title, &message, &bottomMessage}) {
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
    }
    for (QLabel* const label : {&message, &bottomMessage}) {
        label->setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    }
    auto* const row = new QHBoxLayout;
    row->setSpacing(MARGIN);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(MARGIN / 2);
    texts->addWidget(&title);
    texts->addWidget(&message);
    row->addLayout(texts, 1);
    row->addWidget(&sign, 0, Qt::AlignTop);
    column->addLayout(row);
    column->addWidget(&bar);
    column->addWidget(&bottomMessage);
    column->addStretch(1);
    if (isClosable) {
        auto* const button = new TPushButton(
            &dialog, TProgressDialog::tr("Close"), QStringLiteral("NewStandardButton"),
            QStringLiteral("NewStandardButtonSelected"), 0, QString());
        button->setMinimumWidth(180);
        QObject::connect(button, &TPushButton::Clicked, &dialog, &TPopupWindow::CloseWindow);
        column->addWidget(button, 0, Qt::AlignRight);
    }
}

TProgressDialog::TProgressDialog(QWidget* parent, const QString& title, EProgressDialogType type,
                                 bool isClosable)
    : TPopupWindow(parent), m_content(std::make_unique<TContent>(*this, title, isClosable))
{
    Q_UNUSED(type); // there is only one type
}

TProgressDialog::~TProgressDialog() = default;

void TProgressDialog::SetMessage(const QString& message, bool isShown)
{
    TContent::Show(m_content->message, message, isShown);
    if (isVisible()) {
        Place();
    }
}

void TProgressDialog::SetBottomMessage(const QString& message, bool isShown)
{
    TContent::Show(m_content->bottomMessage, message, isShown);
    if (isVisible()) {
        Place();
    }
}

QString TProgressDialog::Message() const
{
    return m_content->message.text();
}

QString TProgressDialog::BottomMessage() const
{
    return m_content->bottomMessage.text();
}

QString TProgressDialog::Title() const
{
    return m_content->title.text();
}

void TProgressDialog::SetProgress(int percent)
{
    m_content->bar.SetPercent(percent);
    m_content->sign.SetEnded(percent >= 100);
}

int TProgressDialog::Progress() const
{
    return m_content->bar.Percent();
}

// Without a button the dialog may be hidden only if it would lock the operator out.
bool TProgressDialog::OnBackPressed()
{
    const hostimpl::TPopupLayer* const layer = hostimpl::TPopupLayer::Of(*this);
    if (m_content->isClosable || isModal() || (layer != nullptr && layer->IsModal())) {
        CloseWindow();
    }
    return true;
}

QSize TProgressDialog::SizeWithin(const QSize& available) const
{
    const int width = std::min(WIDTH, available.width());
    layout()->activate(); // until then the nested layouts have the heights of the former texts
    const int height = std::max(layout()->totalHeightForWidth(width), sizeHint().height());
    return {width, std::min(height, available.height())};
}
