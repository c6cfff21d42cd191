// Puts the panel of Qt Virtual Keyboard into a widget.
#include "console/keyboard/Keyboard.h"

#include <QtCore/QByteArray>
#include <QtGui/QGuiApplication>
#include <QtGui/QInputMethod>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtQuickWidgets/QQuickWidget>

#include <memory>

namespace {

const char* const panelText = R"(
import QtQuick 2.15
import QtQuick.VirtualKeyboard 2.15
import QtQuick.VirtualKeyboard.Settings 2.15
Item {
    // Otherwise the keys have the British layout in every language.
    Component.onCompleted: VirtualKeyboardSettings.locale = Qt.locale().name
    readonly property real panelHeight: panel.height
    InputPanel { id: panel; width: parent.width }
}
)";

// The panel knows its width, and so its height, only when it is shown.
class TKeyboard : public QQuickWidget
{
    Q_OBJECT

public:
    using QQuickWidget::QQuickWidget;

public Q_SLOTS:
    void Arrange()
    {
        const bool isVisible = QGuiApplication::inputMethod()->isVisible();
        const int panelHeight =
            rootObject() == nullptr ? 0 : qRound(rootObject()->property("panelHeight").toReal());
        setFixedHeight(qMax(1, panelHeight));
        setVisible(isVisible);
    }
};

} // namespace

QWidget* MakeKeyboard(QWidget* parent)
{
    // The software renderer is fast enough here, and a console need not have OpenGL.
    QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    auto keyboard = std::make_unique<TKeyboard>(parent);
    keyboard->setResizeMode(QQuickWidget::SizeRootObjectToView);
    keyboard->setFocusPolicy(Qt::NoFocus);
    keyboard->setAttribute(Qt::WA_AcceptTouchEvents);
    auto* const component = new QQmlComponent(keyboard->engine(), keyboard.get());
    component->setData(QByteArray(panelText), QUrl());
    QObject* const panel = component->create();
    if (panel == nullptr) {
        return nullptr;
    }
    keyboard->setContent(QUrl(), component, panel);
    keyboard->hide();
    QObject::connect(QGuiApplication::inputMethod(), &QInputMethod::visibleChanged, keyboard.get(),
                     &TKeyboard::Arrange);
    // QML defines the panel's signals, so only their strings are known.
    QObject::connect(panel, SIGNAL(panelHeightChanged()), keyboard.get(), SLOT(Arrange()));
    return keyboard.release();
}

#include "Keyboard.moc"
