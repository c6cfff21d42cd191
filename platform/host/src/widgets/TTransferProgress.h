// The bar and the text of a running transfer, in a dialog.
#pragma once

#include "widgets/TProgressBar.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QWidget>

#include <utility>

// Follows hostimpl::SetTransferProgress. Hidden while there is nothing to show: a progress belongs
// to a running operation, a result to an ended one. Main thread.
class TTransferProgress : public QWidget
{
    Q_OBJECT

public:
    explicit TTransferProgress(QWidget* parent = nullptr);
    ~TTransferProgress() override;

    // Whether the dialog's operation runs.
    void SetRunning(bool isRunning);
    // False while a running transfer waits for the link.
    bool IsMoving() const;
    // The operator has pressed "Cancel".
    static void AnnounceCancel();
    // Takes the state that SetTransferProgress has set.
    void Refresh();
    // 0 while it is hidden.
    int HeightFor(int width) const;

    int Percent() const { return m_bar.Percent(); }
    QString Text() const { return m_text.text(); }

Q_SIGNALS:
    // The height or IsMoving() has changed. Other changes need no new place for the dialog, which
    // takes time to compute.
    void Changed();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    using TLook = std::pair<int, bool>; // the height, 0 while it is hidden, and IsMoving()

    int TextHeight(const QFont& font, int width) const;
    QFont FontFor(int width) const;

    TProgressBar m_bar;
    QLabel m_text;
    bool m_isRunning = false;
    TLook m_look{0, true};
};
