pragma Singleton
import QtQuick 2.15

QtObject {
    property string locale: "en_GB"
}
