#pragma once

#include "Directives.h"
#include "VisionAnalysis.h"

#include <QImage>

#include <optional>

namespace vellumix {

/// The plain-text picture of the canvas sent with every request.
struct AIContext {
    QString summary;

    /// What the summary is built from.
    struct Inputs {
        QSize imageSize;
        const AnnotationList* annotations = nullptr;
        int selectedCount = 0;
        QRectF imageRect;
        std::optional<VisionAnalysis> analysis;
        QString query;
    };

    /// The form the route needs: full (question), compact (annotation edit), one line (image
    /// edit).
    static AIContext build(QueryRoute route, const Inputs& inputs);
    static AIContext full(const Inputs& inputs);
    static AIContext compact(const Inputs& inputs);
    static AIContext oneLine(const Inputs& inputs);

    /// The console line written after building a context: the summary itself, or only its size
    /// when the text on screen must not reach the log (passwords can be on screen).
    static QString logLine(QueryRoute route, const AIContext& context, bool withText);
};

/// The OCR lines worth sending for a query: those sharing its keywords, best first, at most 12.
std::vector<OCRLine> relevantTextLines(const std::vector<OCRLine>& lines, const QString& query);

} // namespace vellumix
