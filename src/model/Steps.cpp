#include "Steps.h"

#include <algorithm>
#include <cmath>

namespace vellumix::steps {

namespace {

// Files keep lengths to two decimals; a hair more absorbs that and float noise.
constexpr double tolerance = 0.05;
constexpr int maximumDigits = 9;

std::optional<int> parseNumber(const QString& text) {
    if (text.isEmpty() || text.size() > maximumDigits || text.front() == QLatin1Char('0')) {
        return std::nullopt;
    }
    int value = 0;
    for (QChar c : text) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9')) {
            return std::nullopt;
        }
        value = value * 10 + (c.unicode() - u'0');
    }
    return value;
}

bool isCircleBox(const TextAnnotation& text) {
    const double w = text.rect.width();
    const double h = text.rect.height();
    if (!(w > 0) || !(h > 0) || !std::isfinite(w) || !std::isfinite(h)) {
        return false;
    }
    return std::abs(w - h) <= tolerance && text.cornerRadius >= std::min(w, h) / 2 - tolerance;
}

} // namespace

std::optional<int> stepNumber(const TextAnnotation& text) {
    if (!isCircleBox(text)) {
        return std::nullopt;
    }
    return parseNumber(text.text);
}

std::optional<int> stepNumber(const Annotation& annotation) {
    if (const auto* text = std::get_if<TextAnnotation>(&annotation)) {
        return stepNumber(*text);
    }
    return std::nullopt;
}

bool isStep(const Annotation& annotation) {
    return stepNumber(annotation).has_value();
}

bool hasSteps(const AnnotationList& annotations) {
    return std::any_of(annotations.begin(), annotations.end(),
                       [](const Annotation& a) { return isStep(a); });
}

int nextStepNumber(const AnnotationList& annotations) {
    int highest = 0;
    for (const Annotation& a : annotations) {
        highest = std::max(highest, stepNumber(a).value_or(0));
    }
    return highest + 1;
}

std::vector<std::pair<int, int>> renumbering(const AnnotationList& annotations) {
    // (number, index): sorting the pairs orders by number, then by list order.
    std::vector<std::pair<int, int>> found;
    for (size_t i = 0; i < annotations.size(); ++i) {
        if (const auto number = stepNumber(annotations[i])) {
            found.emplace_back(*number, static_cast<int>(i));
        }
    }
    std::sort(found.begin(), found.end());
    std::vector<std::pair<int, int>> changes;
    for (size_t rank = 0; rank < found.size(); ++rank) {
        const int wanted = static_cast<int>(rank) + 1;
        if (found[rank].first != wanted) {
            changes.emplace_back(found[rank].second, wanted);
        }
    }
    return changes;
}

} // namespace vellumix::steps
