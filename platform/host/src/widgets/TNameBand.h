// Shows a whole name, on as many lines as needed.
#pragma once

#include <QtGui/QTextDocument>
#include <QtWidgets/QWidget>

// Lines break between words, or anywhere if a name has no blanks. If the place is too small for a
// name, its letters become narrower, then the name loses its middle. A touch hides the band, so
// that the operator reaches the rows below. Main thread.
class TNameBand : public QWidget
{
    Q_OBJECT

public:
    explicit TNameBand(QWidget* parent = nullptr);
    ~TNameBand() override;

    void SetName(const QString& name);
    QString Name() const { return m_name; }
    // The name, perhaps without its middle.
    QString ShownText() const { return m_text.toPlainText(); }

    // In pixels, for the letters and the text that are shown.
    int heightForWidth(int width) const override;
    // Chooses the letters and the text for a place of this size at most.
    void FitInto(const QSize& most);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QString m_name;
    QTextDocument m_text;
};
