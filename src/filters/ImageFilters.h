#pragma once

#include <QImage>
#include <QPointF>
#include <QString>

#include <array>
#include <optional>

/// Whole-image operations of the editor and the assistant, on OpenCV (core + imgproc).
///
/// Pixels. Every operation works on 8-bit straight (not premultiplied) colour: an input without an
/// alpha channel is processed as Format_RGB32, any other as Format_ARGB32 (premultiplied inputs are
/// unpremultiplied first), and the result comes back in that format with the input's resolution.
/// The filters and auto-enhance change colour only: the alpha channel comes back bit for bit. Where
/// a filter averages neighbours (blur, the blur inside sharpen) on a translucent image, the colour
/// is averaged weighted by alpha (premultiply, blur, unpremultiply), so hidden colour under
/// transparent pixels never bleeds into visible ones; opaque images skip that detour.
///
/// Colour space. The filters work on the gamma-encoded sRGB values, not in linear light as Core
/// Image's default working space does. The colour controls pivot at 0.5; in encoded values that is
/// perceptual mid-grey, so a contrast boost spreads tones around the middle and keeps the overall
/// brightness, which is what a request for "more contrast" means. In linear light the pivot is
/// sRGB 188, and contrast 1.7 would push a mid-grey 128 down to 35: screenshots, mostly below 188,
/// would turn dark. Encoded values also keep every filter a lookup table or an 8-bit OpenCV call
/// (no float conversion of a 59 MB 5K image), and let an identity setting return the input exactly.
///
/// Mapping onto OpenCV:
/// - sharpen, unsharp mask: out = in + k·(in − Gaussian(in, σ = 2.5)), k = 1.8·s, as
///   `GaussianBlur(Size(0,0), σ, BORDER_REPLICATE)` then `addWeighted(in, 1 + k, blurred, −k, 0)`
///   (in row bands on the worker threads, into the blur's own buffer) with rounding and saturation
///   to 0…255. k = 0 returns the input unchanged, bit for bit.
/// - contrast, colour controls: v' = (v − 0.5)·c + 0.5 on each of r, g, b in 0…1, c = 1 + 0.7·s;
///   brightness: v' = v + b, b = 0.4·s; both through one 256-entry `LUT` (alpha entry = identity),
///   rounded to nearest and clamped. Worked values: 100 → 81 at c = 1.7; 100 → 151 at b = 0.2.
/// - blur: `GaussianBlur` with σ = radius = 20·s and BORDER_REPLICATE (the image clamped to its
///   extent, so no dark or transparent rim, and the size stays). From σ = 5 on, the blur runs on a
///   copy shrunk by f = max(2, ⌊σ/4⌋) (`resize` INTER_AREA) with σ' = √(σ² − f²/4)/f and is
///   enlarged back with INTER_LINEAR: the box and tent filters of the two resizes add the variance
///   f²/12 + f²/6 = f²/4 that σ' leaves out, so the result is the same Gaussian. On text and a hard
///   checkerboard it differs from the full-size blur by 0.2 levels on average and at most 3 away
///   from the outermost pixels. σ = 20 runs at f = 5, σ' ≈ 4, on 1/25 of the pixels with a
///   25-tap instead of a 121-tap kernel.
/// - auto-enhance: one pass through a tone table plus vibrance; the statistics come from an even
///   grid of at most about 500,000 pixels with alpha > 0, luminance Y = 0.2126 R + 0.7152 G +
///   0.0722 B. Drawn pictures (screenshots, diagrams) are told from photos by their flat fills:
///   more than half the samples on four luminance levels, or more than 60 % of the samples equal
///   to their right-hand neighbour (camera grain breaks that up).
///   1. levels: lo and hi are the 0.5 % and 99.5 % percentiles of Y (for drawn pictures the
///      darkest and brightest sample: a little black text on a white page is not noise). With
///      range r = (hi − lo)/255 the stretch [lo, hi] → [0, 1] (gain at most 3, centred when
///      capped) is blended in with weight w = clamp((0.8 − r)/0.3, 0, 1): none for images spanning
///      80 % of the range (clean screenshots, dark-mode windows, most good photos), in full for
///      dull ones spanning half or less.
///   2. tone curve: when the median Y after the stretch is below 0.4, a gamma v^γ lifts the
///      midtones, γ = 1 + w·(max(ln 0.45 / ln median, 0.7) − 1): only dull dark images, never
///      darkening, and full-range dark pictures (night shots, dark-mode windows) keep their key.
///   3. vibrance (photos only): colour pushed away from Y by a factor 1 + a·4Y(1 − Y)·(1 − chroma),
///      largest for muted midtones, small for pastels near white and for shadows, and limited per
///      pixel so that no channel clips (hue kept). The amount a = 0.35·clamp((0.4 − m)/0.3, 0, 1)
///      with m the mean chroma of the coloured samples (chroma ≥ 0.08); 0 when fewer than 5 % of
///      the samples are coloured.
///   None when the tone table moves no level by more than 2 and a < 0.03.
/// - straighten, detection (on a copy shrunk with INTER_AREA to at most 1024 pixels on the longer
///   side): grey, `GaussianBlur` 5×5, `Canny(50, 150)`, `dilate` 3×3, external `findContours`; the
///   contours with more than 20 % of the image's area, largest first; the first whose
///   `approxPolyDP(0.02·arcLength)` has 4 points, `isContourConvex`, and hugs the contour (mean
///   distance of the contour from it at most 0.25 % of its perimeter, 3 pixels at least: the coarse
///   approximation also squares off the staircase outline of overlapping windows) is the document.
///   There is no `minAreaRect` fallback: it would turn any large blob (a photo inside a screenshot,
///   a stack of windows) into a "document", and no document must mean none so that the editor
///   beeps and changes nothing. Each edge is then refined on the full-size image (strongest grey
///   step along its normal at up to 64 stations, `fitLine` DIST_HUBER), the quad is inset by 1.5
///   pixels so no background rim remains, and the corners are ordered tl, tr, br, bl (clockwise
///   from the one nearest the top-left). A quad whose four edges all run within 1.5 pixels of
///   horizontal or vertical is a window or panel of a screenshot, or a page already straight:
///   none, as there is nothing to straighten.
/// - straighten, correction: width = the longer of the top and bottom edges, height = the longer of
///   the left and right edges; `getPerspectiveTransform` onto that rectangle and `warpPerspective`
///   (INTER_CUBIC, BORDER_REPLICATE). When the longer side b exceeds the input's longer side a, a
///   `resize` by a ÷ b (INTER_LANCZOS4, INTER_AREA below one half) keeps the aspect ratio.
///
/// Speed on a 5120 × 2880 screenshot with two cores: every call well under 300 ms (see
/// bench/FilterBench.cpp). OpenCV's own thread pool is used as configured; the pixels are wrapped,
/// not copied, and each result is the only new full-size buffer where the operation allows.
namespace vellumix::filters {

/// The assistant's named filters: "sharpen", "contrast", "brightness", "blur", compared in lower
/// case; strength clamped to 0…1 (sharpen: unsharp mask radius 2.5, intensity 1.8·s; contrast: 1 +
/// 0.7·s; brightness: 0.4·s; blur: Gaussian radius 20·s). The result keeps the input's size. None
/// for an unknown kind or when the filter produces nothing.
std::optional<QImage> applyFilter(const QImage& image, const QString& kind, double strength);

/// Automatic tone and colour adjustment. None when there is nothing to adjust / it produces
/// nothing.
std::optional<QImage> autoEnhance(const QImage& image);

/// Finds a document (the largest convex quadrilateral over a minimum area), corrects its
/// perspective, and scales the result down with Lanczos when its longer side exceeds the input's
/// longer side. None when no document is found.
std::optional<QImage> straightenDocument(const QImage& image);

/// The document straightenDocument() corrects: its corners in image pixels (pixel centres at
/// half-integers), ordered top-left, top-right, bottom-right, bottom-left. None when there is none.
std::optional<std::array<QPointF, 4>> findDocument(const QImage& image);

} // namespace vellumix::filters
