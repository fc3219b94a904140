#pragma once

#include "model/Annotation.h"

#include <QImage>

namespace vellumix::bench {

/// A screenshot-like picture: flat panels, gradients and text-like noise, so that encoders see
/// realistic content rather than a solid fill.
QImage syntheticScreenshot(int width, int height);

/// `count` annotations of every kind in turn, spread over the canvas of an image of `size`.
AnnotationList mixedAnnotations(int count, QSize imageSize);

} // namespace vellumix::bench
