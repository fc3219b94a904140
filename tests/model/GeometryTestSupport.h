#pragma once

#include "model/AnnotationGeometry.h"

#include <gtest/gtest.h>

namespace vellumix::testing {

inline void expectRectNear(const QRectF& actual, const QRectF& expected, double eps = 1e-9) {
    EXPECT_NEAR(actual.x(), expected.x(), eps);
    EXPECT_NEAR(actual.y(), expected.y(), eps);
    EXPECT_NEAR(actual.width(), expected.width(), eps);
    EXPECT_NEAR(actual.height(), expected.height(), eps);
}

inline void expectPointNear(QPointF actual, QPointF expected, double eps = 1e-9) {
    EXPECT_NEAR(actual.x(), expected.x(), eps);
    EXPECT_NEAR(actual.y(), expected.y(), eps);
}

inline ArrowAnnotation arrowBetween(QPointF start, QPointF end, QPointF control, double width,
                                    ArrowEndCap cap) {
    ArrowAnnotation a;
    a.start = start;
    a.end = end;
    a.controlPoint = control;
    a.lineWidth = width;
    a.endCap = cap;
    return a;
}

inline ShapeAnnotation shapeAt(const QRectF& rect) {
    ShapeAnnotation s;
    s.rect = rect;
    return s;
}

inline StrokeAnnotation strokeThrough(std::initializer_list<QPointF> points) {
    StrokeAnnotation s;
    auto it = points.begin();
    s.path.moveTo(*it);
    for (++it; it != points.end(); ++it) {
        s.path.lineTo(*it);
    }
    return s;
}

} // namespace vellumix::testing
