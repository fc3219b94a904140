#pragma once

// Shared by the files of the vision module only.

#include "ai/VisionRules.h"

#include <QImage>

#include <atomic>
#include <memory>
#include <opencv2/core.hpp>
#include <optional>
#include <vector>

namespace vellumix::vision::detail {

/// What VisionAnalyzer::analyze does, inside the vision module.
VisionAnalysis analyzeImage(const QImage& image, const std::atomic<bool>* cancelled);

/// What VisionAnalyzer::prepare does, inside the vision module: starts the engines and loads the
/// cascades, on the calling thread.
void prepareEngines();

/// The grey picture the text engines read, its scale relative to the image, and the dark pixels
/// of each of its rows (where the bands are cut).
struct TextPicture {
    cv::Mat grey;
    double scale = 1;
    /// The typical glyph's height in the picture's pixels; 0 when it could not be told.
    double glyph = 0;
    std::vector<int> rowInk;
};

/// Grey, dark backgrounds inverted, scaled for the engines. `rgb` is 8-bit, 3 channels.
TextPicture prepareTextPicture(const cv::Mat& rgb);

/// Turns the light-on-dark parts of a grey picture dark-on-light: within the bounding box of
/// every dense, flat dark area at least `minimumSide` pixels wide and tall with something light
/// inside (bars, panels, selected rows, buttons), each level becomes 255 − |level − fill| scaled
/// so that the fill turns white and full white black. True when any area was turned over.
bool invertDarkBackgrounds(cv::Mat& grey, int minimumSide);

/// What the engines read: the lines, and apart from them those under the confidence floor.
struct RecognisedText {
    std::vector<OCRLine> lines;
    std::vector<OCRLine> doubtful;
};

/// Text recognition running on the engines; `finish` waits for it.
class TextRecognition {
public:
    /// Starts reading `rgb` (8-bit, 3 channels, the image's own size).
    TextRecognition(const cv::Mat& rgb, const std::atomic<bool>* cancelled);
    ~TextRecognition();
    TextRecognition(const TextRecognition&) = delete;
    TextRecognition& operator=(const TextRecognition&) = delete;

    /// The lines in image pixels and reading order, sizes assigned; none when an engine failed
    /// or the work was cancelled.
    std::optional<RecognisedText> finish();

    /// The bands and their lines, shared with the engines' threads.
    struct Batch;

private:
    std::shared_ptr<Batch> m_batch;
    TextPicture m_picture;
    std::vector<TextBand> m_bands;
    cv::Size m_imageSize;
};

/// Starts the engines (in the background) when they are not running yet.
void startTextEngines();

/// Colour and edge statistics of `small` (8-bit RGB, at most about 512 pixels on the longer
/// side); the text and face fields are left for the caller.
PictureMeasures measureColoursAndEdges(const cv::Mat& small);

/// Faces and upper bodies in `grey` (8-bit, at most about 640 pixels on the longer side), into
/// the face and body fields of `measures`. Throws when the cascades cannot be loaded.
void detectPeople(const cv::Mat& grey, PictureMeasures& measures);

/// Loads the cascades when they are not loaded yet; false when they cannot be.
bool loadCascades();

/// Salient regions of `small` (8-bit RGB), in image pixels of an image of `imageSize`, surest
/// first.
std::vector<SalientRegion> findSalientRegions(const cv::Mat& small, cv::Size imageSize);

} // namespace vellumix::vision::detail
