#pragma once

#include "ai/VisionAnalysis.h"

#include <QRect>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

/// The exact rules of image analysis, free of any recognition library: where the picture is cut
/// for the parallel text engines and how their lines are merged back, how a working picture's
/// boxes become image rectangles, the reading order, which OCR languages to load, the labels
/// derived from measured picture statistics, and the thresholds and limits of the results.
namespace vellumix::vision {

// --- Coordinates -----------------------------------------------------------------------------

/// Maps a box of the working picture (the image scaled by `scale`, in Tesseract's crack
/// coordinates: (0, 0) is the top-left corner of the top-left pixel) into image pixels, top-left
/// origin, clipped to the image of `imageSize`.
QRectF imageRectFromWorking(const QRect& workingBox, double scale, QSizeF imageSize);

// --- Bands for the parallel text engines -----------------------------------------------------

/// Rows [top, bottom) of the working picture go to one engine; the lines whose vertical centre
/// lies in [ownTop, ownBottom) are this band's. Own ranges tile the picture without gaps.
struct TextBand {
    int top = 0;
    int bottom = 0;
    int ownTop = 0;
    int ownBottom = 0;
};

/// Cuts a picture whose row r holds rowInk[r] dark pixels into `count` bands. Each cut goes
/// within a quarter band of the even split, between text lines where it can: into the middle of
/// the longest blank run there (nearest the split on a tie), or else into the least inked row
/// nearest the split. Past a blank cut each band reaches only into the blank run (at most
/// `overlap` rows), as nothing crosses it; past an inked cut it reaches `overlap` rows, so that a
/// line the cut crosses is whole in one of the two bands. Fewer bands when the picture has fewer
/// than 2 × `overlap` rows per band; none for an empty picture.
std::vector<TextBand> layoutTextBands(const std::vector<int>& rowInk, int count, int overlap);

/// A word as a band's engine read it, with its glyphs (each usually one character), boxes in
/// working-picture coordinates.
struct FoundWord {
    QString text;
    QRect box;
    std::vector<std::pair<QString, QRect>> glyphs = {};
};

/// A line as a band's engine read it, its box in working-picture coordinates.
struct FoundLine {
    QString text;
    QRect box;
    /// The engine's confidence in the line's words, 0…100.
    double confidence = 0;
    std::vector<FoundWord> words = {};
};

/// Tesseract's sparse-text mode also reads bars, icons and photo texture as lines, most of them
/// scoring under 30 where interface text scores 85 and more: lines below this are kept apart as
/// doubtful (random keys and tokens score as low as noise).
inline constexpr double minimumLineConfidence = 40;

/// The lines of all bands as one list, band by band. A line clear of its band's inner edges is
/// kept by the band that owns its vertical centre. A line touching an inner edge (cut by it) is
/// dropped when the neighbour across that edge read a line clear of the edge over the same place;
/// when the neighbour's line is cut too (a line taller than the overlap), the taller piece is kept
/// (the upper one on a tie); with nothing over it, it is kept by the band owning its centre.
/// `found[i]` holds the lines of `bands[i]`.
std::vector<FoundLine> mergeBandLines(const std::vector<TextBand>& bands,
                                      const std::vector<std::vector<FoundLine>>& found);

/// Puts lines into reading order: rows top to bottom, left to right within a row. A line joins
/// the row begun by the topmost remaining line when its vertical centre lies within that line's
/// height.
void sortIntoReadingOrder(std::vector<OCRLine>& lines);

/// A recognised line's text as recorded: the engine's line break and surrounding white space
/// removed, and a lone "|" before a lower-case word read as the pronoun "I" (the LSTM's commonest
/// confusion in English text; a bar between columns stands between capitalised headings or
/// numbers). Empty for a line without a letter or digit: that is a rule, an icon or noise.
QString cleanLineText(const QString& text);

/// Puts the engine's word and glyph boxes of a found line on the line as recorded (its text
/// already cleaned), mapped into image pixels as `imageRectFromWorking` does. Words are looked up
/// in the text in order; a word not found gets no box, and the glyphs of a word only when they
/// spell it, so that no box ever names characters it does not hold.
void placeTextBoxes(OCRLine& line, const std::vector<FoundWord>& words, double scale,
                    QSizeF imageSize);

// --- Languages -------------------------------------------------------------------------------

/// The Tesseract code for a desktop locale name ("de_DE", "pt-BR", "zh-Hant-TW", "en"): the
/// ISO 639-2/T code, "chi_sim" or "chi_tra" for Chinese by script or region; empty when unknown.
QString tesseractLanguageCode(const QString& localeName);

/// The language string to initialise Tesseract with: the desktop's languages (in order of
/// preference) that are installed, then "eng" when installed, at most three, joined by "+".
/// Without any of these, the first installed language other than "osd" and "equ"; empty when
/// nothing usable is installed.
QString tesseractLanguages(const QStringList& installed, const QStringList& uiLanguages);

// --- Labels ----------------------------------------------------------------------------------

/// What the analyser measured about a picture: the inputs of the label rules. Shares are 0…1.
struct PictureMeasures {
    /// Share of the image's area inside recognised text lines.
    double textCoverage = 0;
    int textLines = 0;
    /// Mean width of the recognised lines relative to the image's width.
    double meanLineWidth = 0;
    /// Share of sampled pixels equal (within 3 levels per channel) to their right-hand neighbour:
    /// drawn pictures are flat, camera pictures are grainy.
    double flatShare = 0;
    /// Share of sampled pixels in the single commonest colour (5 bits per channel).
    double backgroundShare = 0;
    /// Share of sampled pixels that are saturated (HSV S ≥ 0.35) and not dark (V ≥ 0.3).
    double saturatedShare = 0;
    /// Share of sampled flat pixels that are saturated: the filled areas of charts.
    double saturatedFlatShare = 0;
    /// Share of pixels on an edge (Canny on a copy of at most 512 pixels on the longer side).
    double edgeDensity = 0;
    /// Share of edge pixels that lie on straight horizontal or vertical runs of at least 1/16 of
    /// the picture's side: panel borders, table rules, chart axes, box outlines.
    double axisLineShare = 0;
    /// Faces found and the confidence of the surest one (0 with none).
    int faces = 0;
    double faceConfidence = 0;
    /// Upper bodies found and the confidence of the surest one (0 with none).
    int bodies = 0;
    double bodyConfidence = 0;
};

/// A label with its confidence (0…1).
struct Classification {
    QString identifier;
    double confidence = 0;
};

/// The labels a picture earns from its measures, surest first (ties in the order below). Each
/// rule is a product of ramps, r(v, a, b) = clamp((v − a)/(b − a), 0, 1):
/// - drawn = max(r(flatShare, 0.35, 0.7), r(backgroundShare, 0.2, 0.5)): flat fills and one
///   dominant background tell a drawn picture from a photographed one.
/// - pageLike = r(meanLineWidth, 0.35, 0.6) · r(backgroundShare, 0.55, 0.75): lines running
///   across most of the width over one background.
/// - "chart" = drawn · r(saturatedFlatShare, 0.05, 0.15) · r(axisLineShare, 0.2, 0.5) ·
///   (1 − r(textCoverage, 0.2, 0.35)): flat saturated areas (bars, slices) along straight axes.
/// - "diagram" = drawn · r(axisLineShare, 0.2, 0.5) · r(edgeDensity, 0.01, 0.03) ·
///   r(backgroundShare, 0.75, 0.85) · r(textLines, 1, 3) · (1 − r(textCoverage, 0.05, 0.15)) ·
///   (1 − r(saturatedFlatShare, 0.08, 0.2)): outlined boxes and connectors with a few labels on
///   one background (an interface's fields and buttons sit on several panels).
/// - "screenshot" = drawn · r(textLines, 4, 16) · (1 − pageLike) · (1 − max(chart, diagram)):
///   an interface's many short lines of text over several panels.
/// - "document" = drawn · r(textCoverage, 0.08, 0.2) · r(meanLineWidth, 0.3, 0.5) ·
///   r(backgroundShare, 0.55, 0.75) · (1 − r(saturatedShare, 0.1, 0.3)).
/// - "text" = r(textCoverage, 0, 0.1) · r(textLines, 0, 3).
/// - "photo" = (1 − drawn) · (1 − r(textCoverage, 0.1, 0.3)).
/// - "face" = faceConfidence (with a face); "person" = max(0.9 · faceConfidence, bodyConfidence).
std::vector<Classification> classify(const PictureMeasures& measures);

/// The confidence of a Haar cascade detection from the number of raw detections merged into it
/// (its neighbours): ramp(neighbours, 4, 24). A real face collects dozens; chance patterns in
/// textures and glyphs collect a few.
double cascadeConfidence(int neighbours);

// --- Thresholds and limits -------------------------------------------------------------------

/// Labels and salient regions below this confidence are dropped.
inline constexpr double minimumConfidence = 0.3;
/// At most this many labels are kept.
inline constexpr int maximumClassifications = 6;

/// The identifiers of the labels with a confidence of at least 0.3, in the given order, at most 6.
QStringList keepClassifications(const std::vector<Classification>& labels);

/// The regions with a confidence of at least 0.3, in the given order.
std::vector<SalientRegion> keepSalientRegions(const std::vector<SalientRegion>& regions);

} // namespace vellumix::vision
