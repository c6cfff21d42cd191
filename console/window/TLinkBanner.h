// The message that the link to the service has failed.
#pragma once

#include "kesdkimpl/LinkStatus.h"

#include <QtWidgets/QFrame>

class QLabel;

namespace console {

// Shown at the top of the window after a failed login or a lost session; otherwise hidden.
//
// Thread: main.
class TLinkBanner : public QFrame
{
    Q_OBJECT

public:
    explicit TLinkBanner(QWidget* parent = nullptr);

    // `reason`: of the failed login, simple HTML; may be empty.
    void Show(kesdkimpl::ESession session, const QString& reason);
    QString Text() const;

protected:
    void changeEvent(QEvent* event) override;

private:
    void ShowColours();

    QLabel* m_text;
};

} // namespace console
