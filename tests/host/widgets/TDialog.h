// A visible message dialog that records its signals.
#pragma once

#include "host/TMessageDialog.h"
#include "host/TPushButton.h"
#include "widgets/TBusyIndicator.h"
#include "widgets/TMessageText.h"

#include <QtTest/QtTest>

// `signalNames` holds the emitted signals in their order, with "closed" for Closed().
struct TDialog
{
    explicit TDialog(TMessageDialog::EMessageDialogType type, bool isFullScreen = false)
        : dialog(nullptr, QStringLiteral("Title"), QStringLiteral("Message"), type, isFullScreen,
                 QPixmap())
    {
        const auto record = [this](const char* name) {
            return [this, name] { signalNames.append(QString::fromLatin1(name)); };
        };
        QObject::connect(&dialog, &TMessageDialog::Ok, &dialog, record("ok"));
        QObject::connect(&dialog, &TMessageDialog::Yes, &dialog, record("yes"));
        QObject::connect(&dialog, &TMessageDialog::No, &dialog, record("no"));
        QObject::connect(&dialog, &TMessageDialog::Cancel, &dialog, record("cancel"));
        QObject::connect(&dialog, &TPopupWindow::Closed, &dialog, record("closed"));
        dialog.ShowWindow(true);
    }

    TPushButton& Button(int index)
    {
        return *dialog.GetMessageDialogButton(
            static_cast<TMessageDialog::EMessageDialogButton>(index));
    }

    TBusyIndicator* Busy() { return dialog.findChild<TBusyIndicator*>(); }
    TMessageText& Text() { return *dialog.findChild<TMessageText*>(); }

    TMessageDialog dialog;
    QStringList signalNames;
};
