#include "console/translations/DrawnTexts.h"

#include <QtGui/QPaintEngine>
#include <QtWidgets/QWidget>

#include <algorithm>
#include <limits>

namespace {

// Records the texts and draws nothing.
class TNotingEngine : public QPaintEngine
{
public:
    TNotingEngine() : QPaintEngine(AllFeatures) {}

    bool begin(QPaintDevice*) override { return true; }
    bool end() override { return true; }
    void updateState(const QPaintEngineState&) override {}
    void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override {}
    void drawPath(const QPainterPath&) override {}
    void drawPolygon(const QPointF*, int, PolygonDrawMode) override {}
    void drawTextItem(const QPointF&, const QTextItem& item) override
    {
        texts << item.text();
        smallest = std::min(smallest, item.font().pixelSize());
    }
    Type type() const override { return User; }

    QStringList texts;
    int smallest = std::numeric_limits<int>::max();
};

class TNotingDevice : public QPaintDevice
{
public:
    explicit TNotingDevice(QWidget& widget) : m_widget(widget) {}

    QPaintEngine* paintEngine() const override { return &m_engine; }
    const TNotingEngine& Engine() const { return m_engine; }

protected:
    int metric(PaintDeviceMetric metric) const override
    {
        switch (metric) {
        case PdmWidth:
            return m_widget.width();
        case PdmHeight:
            return m_widget.height();
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return int(devicePixelRatioFScale());
        case PdmDepth:
            return 32;
        case PdmNumColors:
            return 0;
        default:
            return 96; // dots per inch
        }
    }

private:
    QWidget& m_widget;
    mutable TNotingEngine m_engine;
};

} // namespace

QStringList DrawnTexts(QWidget& widget)
{
    TNotingDevice device(widget);
    widget.render(&device);
    return device.Engine().texts;
}

int SmallestDrawnText(QWidget& widget)
{
    TNotingDevice device(widget);
    widget.render(&device);
    return device.Engine().smallest;
}
