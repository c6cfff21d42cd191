// The hub listener receives every signal of the hub with its arguments.
#include "console/session/THubListener.h"
#include "core/TKelvoInterface.h"
#include "support/TestMain.h"

#include <QtCore/QMetaMethod>

using console::EHubSignal;
using console::THubEvent;

class THubListenerTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    TKelvoInterface m_hub;
    QList<THubEvent> m_events;

private Q_SLOTS:
    void init() { m_events.clear(); }

    void receivesEverySignalOfTheHub()
    {
        console::THubListener listener([this](const THubEvent& event) { m_events << event; });
        QString error;
        QVERIFY2(listener.Attach(m_hub, error), qUtf8Printable(error));

        const QMetaObject& meta = TKelvoInterface::staticMetaObject;
        int count = 0;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QMetaMethod method = meta.method(i);
            if (method.methodType() != QMetaMethod::Signal) {
                continue;
            }
            ++count;
            m_events.clear();
            Emit(method);
            QCOMPARE(m_events.size(), 1);
            QCOMPARE(QByteArray(console::SignalName(m_events.constFirst().signal).latin1()),
                     method.name());
        }
        QCOMPARE(count, console::hubSignalCount);
    }

    void passesOnTheArguments()
    {
        console::THubListener listener([this](const THubEvent& event) { m_events << event; });
        QString error;
        QVERIFY(listener.Attach(m_hub, error));
        const KelvoFileInfoList files{{7}, {QStringLiteral("a.zip")}};
        const KelvoFileTransferErrorDetailsList errors = {
            {QStringLiteral("a.zip"), QStringLiteral("why")}};

        Q_EMIT m_hub.KelvoDeleteFilesRequested(5, {QStringLiteral("x")}, files);
        Q_EMIT m_hub.KelvoDownloadingFile(4, QStringLiteral("b.zip"));
        Q_EMIT m_hub.KelvoDeleteComplete(3, errors);
        Q_EMIT m_hub.KelvoUserInboxSetupInProgress(42);
        Q_EMIT m_hub.KelvoLoginFailed(QStringLiteral("text"));

        QCOMPARE(m_events.size(), 5);
        QCOMPARE(m_events[0].project.value_or(-1), 5);
        QCOMPARE(m_events[0].fileNames.value_or(QStringList()), QStringList(QStringLiteral("x")));
        QCOMPARE(m_events[0].files->fileIds, files.fileIds);
        QCOMPARE(m_events[0].files->fileNames, files.fileNames);
        QCOMPARE(m_events[1].fileName.value_or(QString()), QStringLiteral("b.zip"));
        QCOMPARE(m_events[2].errors->constFirst().errorMsg, QStringLiteral("why"));
        QVERIFY(!m_events[2].files);
        QCOMPARE(m_events[3].progress.value_or(-1), 42);
        QCOMPARE(m_events[4].message.value_or(QString()), QStringLiteral("text"));
        QVERIFY(!m_events[4].project);
    }

private:
    void Emit(const QMetaMethod& method)
    {
        const int number = 0;
        const QString text;
        const QStringList names;
        const KelvoFileInfoList files;
        const KelvoFileTransferErrorDetailsList errors;
        void* arguments[4] = {nullptr, nullptr, nullptr, nullptr};
        const QList<QByteArray> types = method.parameterTypes();
        for (int i = 0; i < types.size(); ++i) {
            const QList<QPair<QByteArray, const void*>> values = {
                {"int", &number},
                {"QString", &text},
                {"QStringList", &names},
                {"KelvoFileInfoList", &files},
                {"KelvoFileTransferErrorDetailsList", &errors}};
            for (const auto& value : values) {
                if (value.first == types.at(i)) {
                    arguments[i + 1] = const_cast<void*>(value.second);
                }
            }
        }
        m_hub.qt_metacall(QMetaObject::InvokeMetaMethod, method.methodIndex(), arguments);
    }
};

KELVO_TEST_MAIN(THubListenerTest)
#include "tst_HubListener.moc"
