#include "TextLayout.h"

#include <QTextLayout>

#include <algorithm>
#include <limits>

namespace vellumix {

namespace {

// QTextLayout breaks lines only at line separators; paragraphs become separators so that one
// layout holds the whole text.
QString withLineSeparators(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QLatin1Char('\n'), QChar::LineSeparator);
    text.replace(QLatin1Char('\r'), QChar::LineSeparator);
    return text;
}

// Lays out `layout` at `width` and returns the total height.
double layOut(QTextLayout& layout, double width, TextAlignment alignment) {
    QTextOption option(qtAlignment(alignment));
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.setCacheEnabled(true);
    double y = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(std::max(width, 1.0));
        line.setPosition(QPointF(0, y));
        y += line.height();
    }
    layout.endLayout();
    return y;
}

} // namespace

namespace {

// Measuring without a device uses a 72 dpi sheet, where one point is one canvas unit.
const QPaintDevice* measuringDevice(const QPaintDevice* device) {
    if (device) {
        return device;
    }
    static const QImage sheet = [] {
        QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);
        image.setDotsPerMeterX(2835);
        image.setDotsPerMeterY(2835);
        return image;
    }();
    return &sheet;
}

} // namespace

Qt::Alignment qtAlignment(TextAlignment alignment) {
    switch (alignment) {
    case TextAlignment::center:
        return Qt::AlignHCenter;
    case TextAlignment::right:
        return Qt::AlignRight;
    case TextAlignment::left:
        break;
    }
    return Qt::AlignLeft;
}

QFont fontInCanvasUnits(QFont font, double size, const QPaintDevice* device) {
    // One canvas unit is one point at 72 dpi; Qt converts point sizes with the device's dpi.
    const double dpi = measuringDevice(device)->logicalDpiY();
    font.setPointSizeF(std::max(size, 0.5) * 72.0 / (dpi > 0 ? dpi : 72.0));
    return font;
}

double TextBoxLayout::height(const QString& text, const QFont& font, double width,
                             TextAlignment alignment, const QPaintDevice* device) {
    QTextLayout layout(withLineSeparators(text), font, measuringDevice(device));
    return layOut(layout, width, alignment);
}

double TextBoxLayout::naturalWidth(const QString& text, const QFont& font,
                                   const QPaintDevice* device) {
    QTextLayout layout(withLineSeparators(text), font, measuringDevice(device));
    layout.beginLayout();
    double widest = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(std::numeric_limits<int>::max() / 4.0);
        widest = std::max(widest, line.naturalTextWidth());
    }
    layout.endLayout();
    return widest;
}

void TextBoxLayout::draw(QPainter& painter, const QString& text, const QFont& font,
                         const QRectF& box, TextAlignment alignment, const QColor& color) {
    if (text.isEmpty() || box.width() <= 0) {
        return;
    }
    QTextLayout layout(withLineSeparators(text), font, painter.device());
    layOut(layout, box.width(), alignment);
    painter.save();
    painter.setPen(color);
    layout.draw(&painter, box.topLeft());
    painter.restore();
}

} // namespace vellumix
