// Plays the panel of Qt Virtual Keyboard. It shows the name of its layout.
import QtQuick 2.15
import QtQuick.VirtualKeyboard.Settings 2.15

Item {
    objectName: VirtualKeyboardSettings.locale
    height: 100
}
