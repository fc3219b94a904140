#pragma once

#include "VisionAnalysis.h"

#include <optional>

namespace vellumix {

/// What "Copy Text" puts on the clipboard.
struct CopiedText {
    /// The lines joined with "\n"; empty when no line was taken.
    QString text;
    int lineCount = 0;
};

/// The recognised text of the whole picture or, with `area` (image pixels), of the lines whose
/// rectangles meet it (touching edges count), in the analysis's reading order. Lines with
/// nothing but white space are left out.
CopiedText copiedText(const VisionAnalysis& analysis, const std::optional<QRectF>& area);

/// The short status after a copy: "Copied 1 line", "Copied N lines", or "No text found" when
/// nothing was taken.
QString copyTextStatus(int lineCount);

} // namespace vellumix
