#include "BenchData.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <random>

namespace vellumix::bench {

QImage syntheticScreenshot(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    std::mt19937 rng(1);
    // The desktop: a smooth gradient wallpaper.
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const double u = x / double(width);
            const double v = y / double(height);
            line[x] = qRgb(int(90 + 60 * std::sin(u * 7 + v * 3)),
                           int(110 + 50 * std::cos(v * 9 - u * 2)),
                           int(150 + 70 * std::sin((u + v) * 5)));
        }
    }
    // A photo open in a viewer (about a sixth of the screen): colour fields with sensor noise,
    // the part of a screenshot that compresses worst.
    std::uniform_int_distribution<int> noise(-6, 6);
    const QRect photo(width / 20, height / 2, width * 2 / 5, height * 2 / 5);
    for (int y = photo.top(); y <= photo.bottom(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = photo.left(); x <= photo.right(); ++x) {
            const double u = x / 300.0;
            const double v = y / 200.0;
            const int r = int(120 + 80 * std::sin(u + std::cos(v))) + noise(rng);
            const int g = int(120 + 70 * std::cos(v * 1.3 - u * 0.4)) + noise(rng);
            const int b = int(100 + 60 * std::sin(u * 0.7 + v)) + noise(rng);
            line[x] = qRgb(std::clamp(r, 0, 255), std::clamp(g, 0, 255), std::clamp(b, 0, 255));
        }
    }
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    std::uniform_int_distribution<int> x(width / 2, width - width / 3);
    std::uniform_int_distribution<int> y(0, height / 2);
    std::uniform_int_distribution<int> c(215, 255);
    QFont font;
    font.setPixelSize(15);
    p.setFont(font);
    // Application windows: title bars, flat panels and lines of text.
    for (int i = 0; i < 8; ++i) {
        const QRect window(x(rng) - width / 3, y(rng), width / 2, height / 2);
        p.fillRect(window, QColor(c(rng), c(rng), c(rng)));
        p.fillRect(QRect(window.topLeft(), QSize(window.width(), 36)), QColor(53, 53, 53));
        p.setPen(QColor(30, 30, 30));
        for (int line = 0; line < (window.height() - 50) / 22; ++line) {
            p.drawText(window.left() + 16 + (line % 5) * 9, window.top() + 60 + line * 22,
                       QStringLiteral("Lorem ipsum dolor sit amet, consectetur adipiscing %1 %2")
                           .arg(i)
                           .arg(line * 7919 % 1000));
        }
    }
    return image;
}

AnnotationList mixedAnnotations(int count, QSize imageSize) {
    std::mt19937 rng(42);
    std::uniform_real_distribution<double> px(20, 20 + imageSize.width() * 0.9);
    std::uniform_real_distribution<double> py(20, 20 + imageSize.height() * 0.9);
    std::uniform_real_distribution<double> size(20, 300);
    AnnotationList list;
    list.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        const QRectF r(px(rng), py(rng), size(rng), size(rng) / 2);
        switch (i % 5) {
        case 0: {
            ShapeAnnotation s;
            s.rect = r;
            s.strokeColor = Color::rgb(0.878, 0.106, 0.141);
            s.shape = i % 2 ? ShapeAnnotation::Shape::oval : ShapeAnnotation::Shape::rect;
            s.lineStyle = static_cast<LineStyle>(i % 4);
            s.lineWidth = 3;
            list.emplace_back(s);
            break;
        }
        case 1: {
            // A hand-drawn stroke: 150 mouse samples a few units apart, turning gently.
            StrokeAnnotation s;
            std::uniform_real_distribution<double> turn(-0.35, 0.35);
            QPointF point = r.topLeft();
            double heading = turn(rng) * 9;
            s.path.moveTo(point);
            for (int k = 0; k < 150; ++k) {
                heading += turn(rng);
                point += QPointF(std::cos(heading), std::sin(heading)) * 3.0;
                s.path.lineTo(point);
            }
            s.lineStyle = i % 3 == 0 ? LineStyle::dashed : LineStyle::solid;
            s.color = Color::rgb(0.2, 0.82, 0.478);
            s.lineWidth = 4;
            list.emplace_back(s);
            break;
        }
        case 2: {
            ArrowAnnotation a;
            a.start = r.topLeft();
            a.end = r.bottomRight();
            a.controlPoint = r.topRight();
            a.color = Color::rgb(0.208, 0.518, 0.894);
            a.lineWidth = 4;
            a.endCap = static_cast<ArrowEndCap>(i % 5);
            list.emplace_back(a);
            break;
        }
        case 3: {
            TextAnnotation t;
            t.rect = QRectF(r.topLeft(), QSizeF(220, 60));
            t.text = QStringLiteral("Annotation %1: check this setting").arg(i);
            t.color = Color::black();
            t.backgroundColor = Color::rgb(1, 1, 0.8, 0.9);
            list.emplace_back(t);
            break;
        }
        default: {
            OverlayAnnotation o;
            o.rect = QRectF(r.topLeft(), QSizeF(96, 96));
            o.image = QImage(64, 64, QImage::Format_ARGB32_Premultiplied);
            o.image.fill(QColor(255, 120, 0, 200));
            o.opacity = 0.8;
            o.overlayRef = QStringLiteral("OVERLAY-%1").arg(i);
            list.emplace_back(o);
            break;
        }
        }
    }
    return list;
}

} // namespace vellumix::bench
