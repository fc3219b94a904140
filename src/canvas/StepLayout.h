#pragma once

#include "model/AnnotationStyle.h"

namespace vellumix::steps {

/// The colour a new step is filled with: the style's fill colour, or its stroke colour when the
/// fill is none, or system red at the style's opacity when both are none.
Color stepColor(const AnnotationStyle& style);

/// A new step: `number` in white bold system type at the style's font size, centred in a circle
/// of `stepColor(style)` around `centre` (a square text box with corner radius half its side,
/// no border). The side is twice the font size, grown to fit long numbers; the padding centres
/// the line in it.
TextAnnotation makeStep(int number, QPointF centre, const AnnotationStyle& style);

/// The box fitted again to its text and font, around the same centre: after the number or the
/// font size changed, so that it stays a circle that holds its number.
TextAnnotation refitStep(TextAnnotation step);

} // namespace vellumix::steps
