#pragma once

#include "ai/SensitiveText.h"
#include "ai/VisionAnalysis.h"

#include <QImage>
#include <QString>

#include <functional>
#include <optional>

namespace vellumix {

class CanvasDocument;

/// What a request works on: the canvas and the operations of its owner (the editor window, or
/// the bundle command). Every member but `redactSensitiveText` has a harmless default, so the
/// request flow calls them without asking.
struct AIRequestHost {
    /// The canvas; null once its owner has gone (the answer then changes nothing).
    std::function<CanvasDocument*()> canvas = [] { return nullptr; };
    /// Delivers the image analysis, at once or later, on the calling thread.
    std::function<void(std::function<void(const VisionAnalysis&)>)> analysis =
        [](const std::function<void(const VisionAnalysis&)>& receiver) {
            receiver(VisionAnalysis{});
        };
    /// A named filter at a strength as one undo step; false for an unknown kind.
    std::function<bool(const QString& kind, double strength)> applyFilter =
        [](const QString&, double) { return false; };
    /// The cloud's edited picture replaces the image as one undo step.
    std::function<void(const QImage& image)> replaceImage = [](const QImage&) {};
    /// A request to redact sensitive text of these kinds, which no model sees: the owner marks
    /// it for the user to check (the window) or redacts it at once (the bundle command), then
    /// reports how many areas and whether they were redacted already. Without it, such requests
    /// fail: they are never sent anywhere.
    std::function<void(SensitiveKinds kinds, std::function<void(int count, bool applied)> done)>
        redactSensitiveText;
};

/// What a request reports, in the order it happens. A member left alone ignores its report.
struct AIRequestListener {
    std::function<void(const QString&)> status = [](const QString&) {};
    std::function<void(const QString&)> meta = [](const QString&) {};
    /// The answer so far (markdown), or the final response text.
    std::function<void(const QString&)> response = [](const QString&) {};
    /// The request failed; the message is shown as plain text.
    std::function<void(const QString&)> failed = [](const QString&) {};
    /// The request has ended (after `failed` or the final status). `emptyField` is true after a
    /// cloud detection batch, whose prompt has been used up.
    std::function<void(bool emptyField)> finished = [](bool) {};
};

/// A named filter applied to a picture; none for an unknown kind or a failure. The filters live
/// below the core (`filters::applyFilter`), so the owner hands them in.
using ImageFilter =
    std::function<std::optional<QImage>(const QImage& image, const QString& kind, double strength)>;

/// The host over one canvas, for the window and the bundle command alike: a filter or the
/// cloud's edited picture replaces the image (annotations kept in place) as one named undo
/// step. `canvas` says when the owner has gone; the analysis and redaction stay the owner's.
AIRequestHost canvasRequestHost(std::function<CanvasDocument*()> canvas, ImageFilter filter);

} // namespace vellumix
