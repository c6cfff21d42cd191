// The sign that the service cannot be reached.
#pragma once

#include "console/window/TLinkMonitor.h"

#include <QtWidgets/QFrame>

class QLabel;

namespace console {

// Stands above everything else while there should be a link and is none; hidden otherwise.
//
// Thread: main.
class TLinkBanner : public QFrame
{
    Q_OBJECT

public:
    explicit TLinkBanner(QWidget* parent = nullptr);

    void Show(ELinkState state, const QString& reason);
    QString Text() const;

private:
    QLabel* m_text;
};

} // namespace console
