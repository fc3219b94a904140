#pragma once

#include "Directives.h"

#include <vector>

namespace vellumix {

class CanvasDocument;

/// What one batch of commands did.
struct AICommandResult {
    std::vector<AnnotationID> created;
    std::vector<AnnotationID> deleted;
    std::vector<AnnotationID> updated;
    /// A command whose box lay entirely off the image (counted as failed too); boxes partly on
    /// it are cut to the image.
    struct OffImage {
        std::size_t command; ///< its index in the batch
        PixelRect box;       ///< as the model gave it
    };
    std::vector<OffImage> outside;
    int failed = 0;
    QString summary;
};

/// Applies model commands to a canvas as one undo step (or none when nothing changed): creates
/// shapes and labels at pixel rectangles with the toolbar filling in what a command leaves
/// open, restyles or refits annotations found by ID, deletes them, and selects the last one
/// created.
class AICanvasCommander {
public:
    static AICommandResult apply(const std::vector<AICanvasCommand>& commands,
                                 const QString& actionName, CanvasDocument& canvas);

    /// The undo name for a single command.
    static QString actionName(const AICanvasCommand& command);
    /// The undo name for a batch of commands (the cloud detection path).
    static QString batchActionName(const std::vector<AICanvasCommand>& commands);
};

} // namespace vellumix
