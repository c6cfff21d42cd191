// An icon and a text that say how something stands.
#pragma once

#include <QtCore/QString>
#include <QtWidgets/QWidget>

namespace console {

// A text that is too wide goes on in a second line where two blanks part it, and is cut with an
// ellipsis if that is too narrow as well; the tool tip has all of it.
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
