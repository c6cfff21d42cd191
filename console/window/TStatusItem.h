// A state in the status bar: an icon and a text.
#pragma once

#include <QtCore/QString>
#include <QtWidgets/QWidget>

namespace console {

// Two blanks separate the parts of a text. A text that is too wide continues in a second line, with
// its last parts. A text with a line break always has two lines. If a line is still too wide, it is
// cut with an ellipsis; the tool tip has the whole text.
//
// Thread: main.
class TStatusItem : public QWidget
{
    Q_OBJECT

public:
    explicit TStatusItem(QWidget* parent = nullptr);

    void Show(const QString& iconName, const QString& text);
    const QString& Text() const { return m_text; }
    const QString& IconName() const { return m_iconName; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_iconName;
    QString m_text;
};

} // namespace console
