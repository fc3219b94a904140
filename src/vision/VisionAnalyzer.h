#pragma once

#include "ai/VisionAnalysis.h"

#include <QImage>

#include <atomic>

/// Image analysis on Linux: text lines through Tesseract, labels from measured picture statistics
/// and OpenCV's Haar cascades, salient regions from the spectral residual of the picture. The
/// engine lives in the vision module (process/Modules.h), loaded on the first analysis, so the
/// idle tray process maps neither library; without the module every analysis is empty.
///
/// Text. One Tesseract engine (LSTM, the languages of `vision::tesseractLanguages`) per core (at
/// most 8), each on a thread of its own, started on first use and kept for the process. The
/// picture goes to the engines as grey, with dark backgrounds turned over (Tesseract's layout
/// analysis loses light text on a dark bar), scaled so that its typical glyph is 13 to 26 pixels
/// tall, and cut into horizontal bands, two per engine, that overlap where a cut meets ink; each
/// engine reads its bands in sparse-text mode, lines without a letter or digit are dropped, those
/// under the engine's noise floor (`vision::minimumLineConfidence`) are set apart as doubtful
/// (searched for secrets only), words and glyphs keep the engine's boxes, and the bands'
/// lines are merged without duplicates or cut lines (`vision::mergeBandLines`), mapped back to
/// image pixels and put into reading order. OpenMP inside Tesseract is switched off on the
/// engines' threads.
///
/// Labels and regions come from a copy of at most 512 pixels on the longer side (faces: 640),
/// measured on the calling thread while the engines read. The rules are `vision::classify`; the
/// 0.3 threshold and the limit of 6 labels apply, and salient regions below 0.3 are dropped.
///
/// Speed on two cores (bench/VisionBench.cpp): a 1440 × 900 screenshot in about 350 ms and a
/// 2880 × 1800 one in about 450 ms, once the module is loaded and the engines have started
/// (about 100–200 ms more on first use, or none after `prepare`).
namespace vellumix::VisionAnalyzer {

/// Analyses `image`: recognised text lines with their size buckets, labels, salient regions.
/// Blocks the calling thread (run it off the main thread); safe to call from several threads.
/// Never fails: a null image, a missing OCR language or cascade, an engine error, or
/// `*cancelled` becoming true (checked between bands and between the stages) gives the empty
/// analysis.
VisionAnalysis analyze(const QImage& image, const std::atomic<bool>* cancelled = nullptr);

/// Loads the module, starts the text engines and loads the cascades in the background, so that
/// the first analysis does not pay for them. Returns at once; harmless to call more than once.
void prepare();

} // namespace vellumix::VisionAnalyzer
