#pragma once

#include "Annotation.h"

#include <optional>
#include <utility>
#include <vector>

namespace vellumix::steps {

/// Numbered steps are ordinary text boxes, so any reader of bundles shows them: a positive whole
/// number (digits only, no leading zero, at most nine digits) in a square box whose corner
/// radius is at least half its side, which draws as a circle. Sides and radii are compared with
/// a small tolerance, enough for the two decimals files keep.
std::optional<int> stepNumber(const TextAnnotation& text);
std::optional<int> stepNumber(const Annotation& annotation);
bool isStep(const Annotation& annotation);

/// The number a new step gets: one above the highest step on the canvas, 1 when there is none.
/// Gaps are not filled (with 1, 2 and 5 present the next is 6).
int nextStepNumber(const AnnotationList& annotations);

/// Renumbering makes the steps 1…n, ordered by their current number, ties by list order.
/// Returns (list index, new number) for every step whose number changes; empty when the steps
/// are already 1…n.
std::vector<std::pair<int, int>> renumbering(const AnnotationList& annotations);

/// Whether the list holds at least one step.
bool hasSteps(const AnnotationList& annotations);

} // namespace vellumix::steps
