// The style of the parts that Qt draws: wide scroll bars and wide text cursors.
#pragma once

#include <QtWidgets/QProxyStyle>

// Main thread.
class TThemeStyle : public QProxyStyle
{
    Q_OBJECT

public:
    TThemeStyle();
    ~TThemeStyle() override;

    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                            QPainter* painter, const QWidget* widget) const override;
};
