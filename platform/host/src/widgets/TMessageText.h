// The text of a message, plain or rich. It is wrapped, and scrolls if it is long.
#pragma once

#include "host/MMICapableWidget.h"

#include <QtWidgets/QTextEdit>

// Returns the message as safe HTML. Allowed are line breaks, paragraphs, headings, lists and
// emphasis. Any other tag is shown as text, and attributes are removed; links and pictures are
// therefore impossible. `isRich` becomes true if the message has an allowed tag.
QString SafeRichText(const QString& message, bool& isRich);

// Main thread.
class TMessageText : public QTextEdit, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TMessageText(QWidget* parent = nullptr);
    ~TMessageText() override;

    void SetMessage(const QString& message);
    // The text's height at the width `width`, in pixels.
    int HeightFor(int width) const;

    // Scrolls. Returns false for a step beyond either end.
    bool OnWheelTurned(int steps) override;

    QVariant loadResource(int type, const QUrl& name) override;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void UpdateFocusPolicy();
};
