#pragma once

#include "model/AnnotationStyle.h"

#include <QImage>

namespace vellumix::render {

/// A small picture of a style as the tool draws with it: a rounded rectangle, an oval, an
/// arrow, a wavy stroke, or "Aa" in a box for text. Line widths are scaled down to fit the
/// picture while keeping their order, so S, M and L stay distinguishable. Shared by the preset
/// menus and the canvas's context menu.
QImage styleSwatch(const AnnotationStyle& style, Tool tool, QSizeF size,
                   qreal devicePixelRatio = 1);

} // namespace vellumix::render
