#pragma once

// Shared by the files of vellumix-bundle only.

#include "ai/SensitiveText.h"
#include "bundle/ProjectBundle.h"
#include "imaging/Redaction.h"

#include <QStringList>
#include <QTextStream>

#include <utility>
#include <vector>

namespace vellumix {

class CanvasDocument;

namespace bundletool {

inline constexpr int failure = 1;
inline constexpr int usageError = 2;

/// "vellumix-bundle: MESSAGE" on `err`; returns `failure`.
int fail(QTextStream& err, const QString& message);
/// The usage text on `err`; returns `usageError`.
int usage(QTextStream& err);
/// The canvas of a bundle (its image and annotations); false, with the failure on `err`, when
/// it is no bundle with a readable image.
bool loadCanvas(const QString& bundlePath, CanvasDocument& canvas, QTextStream& err);

/// Writes back what a command changed in the bundle's canvas; false, with the "Save failed: "
/// line on `err`, when it could not.
bool saveEdits(const CanvasDocument& canvas, bundle::Edits edits, const QString& bundlePath,
               QTextStream& err);

/// Redacts the sensitive text of these kinds into the canvas's image at once, as one undo step:
/// without a window there is nobody to check proposals. The areas covered, with their kinds.
std::vector<std::pair<SensitiveKind, QRectF>> redactAtOnce(CanvasDocument& canvas,
                                                           const VisionAnalysis& analysis,
                                                           SensitiveKinds kinds,
                                                           imageops::RedactionStyle style);

/// `analyze BUNDLE`: the image analysis as JSON on `out`.
int analyze(const QString& bundlePath, QTextStream& out, QTextStream& err);
/// `redact BUNDLE [--kinds …] [--style fill|pixelate]`: finds sensitive text, redacts it into
/// the bundle's image and prints what it covered.
int redact(const QStringList& args, QTextStream& out, QTextStream& err);

} // namespace bundletool

} // namespace vellumix
