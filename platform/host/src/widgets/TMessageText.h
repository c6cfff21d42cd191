// The text of a message: wrapped, scrolling when it is long, drawn as rich text where it is such.
#pragma once

#include "host/MMICapableWidget.h"

#include <QtWidgets/QTextEdit>

// What a message may hold besides text: line breaks, paragraphs, lists, and marks of emphasis.
// Anything else that looks like a tag is shown as it is written, attributes are left out: neither
// links nor pictures. `isRich` tells whether there was anything but text. The result is HTML.
QString SafeRichText(const QString& message, bool& isRich);

// Main thread.
class TMessageText : public QTextEdit, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TMessageText(QWidget* parent = nullptr);
    ~TMessageText() override;

    void SetMessage(const QString& message);
    // What the text takes in pixels when it is `width` wide.
    int HeightFor(int width) const;

    // Scrolls; a step beyond either end is not used.
    bool OnWheelTurned(int steps) override;

    QVariant loadResource(int type, const QUrl& name) override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void UpdateFocusPolicy();
};
