#pragma once

// Pictures of text the recogniser reads back reliably: dark DejaVu Sans on white.

#include "ai/VisionAnalysis.h"

#include <QFont>
#include <QImage>
#include <QPainter>
#include <QStringList>

#include <utility>
#include <vector>

namespace vellumix::test {

/// Each line's text drawn from its baseline's start, at `pixelSize`.
inline QImage textPicture(QSize size, int pixelSize,
                          const std::vector<std::pair<QPoint, QString>>& lines) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    painter.setFont(font);
    painter.setPen(Qt::black);
    for (const auto& [baseline, text] : lines) {
        painter.drawText(baseline, text);
    }
    return image;
}

/// One line of 24-pixel text on a 640 × 120 picture.
inline QImage caption(const QString& text) {
    return textPicture(QSize(640, 120), 24, {{QPoint(30, 70), text}});
}

/// The recognised lines' texts, top to bottom.
inline QStringList texts(const VisionAnalysis& analysis) {
    QStringList all;
    for (const OCRLine& line : analysis.lines) {
        all << line.text;
    }
    return all;
}

} // namespace vellumix::test
