// The SDK's errors on the console's screens, in each language: no text is cut off.
#include "base/Catalogue.h"
#include "connection/ErrorTexts.h"
#include "console/translations/ScreenFaults.h"
#include "console/translations/TInLanguage.h"
#include "console/window/TLinkBanner.h"
#include "console/window/TMainWindow.h"
#include "console/window/TMiniViewDock.h"
#include "console/window/TSampleSurface.h"
#include "host/TMessageDialog.h"
#include "hostimpl/Display.h"
#include "hostimpl/Theme.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtTest/QtTest>
#include <QtWidgets/QTextEdit>

class TTranslatedErrorsTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static constexpr int codes = 100; // more than EErrorCode has

    // The texts as the worker joins them.
    static QStringList Errors(const QString& language, const std::wstring& file)
    {
        qputenv("LANGUAGE", language.toLatin1());
        // gettext forgets the texts of the language before when the folder changes.
        kesdk::impl::UseCatalogues("/nowhere");
        kesdk::impl::UseCatalogues(KESDK_CATALOGUES);
        QStringList errors;
        for (int code = 0; code < codes; ++code) {
            kesdk::impl::Failure failure(static_cast<kesdk::impl::EErrorCode>(code));
            failure.retryAfter = std::chrono::seconds(119);
            const auto error = kesdk::impl::Describe(failure, file);
            const QString text = QString::fromStdWString(error.text1) + QLatin1Char('\n') +
                                 QString::fromStdWString(error.text2);
            if (!errors.contains(text)) {
                errors << text;
            }
        }
        return errors;
    }

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }

    void showsWhyTheLoginFailed_data() { AddLanguagesAndTextSizes(); }

    void showsWhyTheLoginFailed()
    {
        QFETCH(QString, code);
        QFETCH(QSize, pixels);
        QFETCH(double, textFactor);
        const QSize size = SetDisplay(pixels, textFactor);
        const TInLanguage inLanguage(code);
        TSampleSurface mini(QStringLiteral("Mini"), QSize(300, 220));
        console::TMainWindow window;
        window.resize(size);
        window.show();
        window.Dock().Add(&mini);
        const QStringList errors = Errors(code, std::wstring()); // a login has no file
        for (const QString& error : errors) {
            window.Banner().Show(kesdkimpl::ESession::eLoginFailed, error);
            QCOMPARE(Faults(window), QString());
        }
        window.Dock().Remove(&mini);
    }

    void showsADialog_data() { AddLanguagesAndTextSizes(); }

    void showsADialog()
    {
        QFETCH(QString, code);
        QFETCH(QSize, pixels);
        QFETCH(double, textFactor);
        const QSize size = SetDisplay(pixels, textFactor);
        const TInLanguage inLanguage(code);
        QWidget window;
        window.resize(size);
        window.show();
        TMessageDialog dialog(&window, QStringLiteral("KELVO"), QString(),
                              TMessageDialog::eAcknowledge, false, QPixmap());
        const QStringList errors =
            Errors(code, L"north_field_2026_nitrogen_prescription_second_try.zip");
        for (const QString& error : errors) {
            dialog.SetMessage(error);
            dialog.ShowWindow(true);
            QCOMPARE(Faults(dialog), QString());
            // A text that is too long for the dialog takes the focus, so that the wheel scrolls it.
            // No text of normal letters is that long.
            const bool isScrolled = dialog.findChild<QTextEdit*>()->focusPolicy() != Qt::NoFocus;
            QVERIFY2(textFactor > 1.0 || !isScrolled, qUtf8Printable(error));
            dialog.CloseWindow();
        }
    }
};

KELVO_WIDGET_TEST_MAIN(TTranslatedErrorsTest)
#include "tst_TranslatedErrors.moc"
