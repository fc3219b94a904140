#pragma once

#include "model/Color.h"

#include <QImage>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QString>

#include <vector>

namespace vellumix::imageops {

/// How a redacted rectangle hides what is under it.
enum class RedactionStyle {
    fill,     ///< one solid, opaque colour
    pixelate, ///< coarse blocks of the mean colour, with noise
};

/// One rectangle to redact, in IMAGE pixels: (0, 0) is the picture's top-left pixel, unlike the
/// canvas coordinates of annotations and crops, where the image lies at (20, 20). The editor
/// converts a dragged canvas rectangle by subtracting the inset (and any zoom) before calling.
struct RedactionArea {
    QRectF rect;
    RedactionStyle style = RedactionStyle::fill;
};

/// The smallest pixelation block, in pixels.
inline constexpr int minimumPixelationBlock = 12;
/// Each block's mean is moved by a random offset of up to this many levels per channel.
inline constexpr int pixelationBlockNoise = 6;
/// And each pixel of a block by up to this many levels per channel on top.
inline constexpr int pixelationPixelNoise = 2;

/// The whole pixels a rectangle touches: its edges rounded outward (a rectangle dragged at a
/// fractional zoom never leaves a sliver of a glyph uncovered), a negative size turned around,
/// then clipped to the image. Empty for a rectangle of zero width or height, one with a
/// non-finite coordinate, or one entirely outside the image.
QRect redactionPixels(const QRectF& rect, QSize imageSize);

/// The block size for pixelating `area` (image pixels): the height of the tallest text line that
/// substantially overlaps it (the area covers at least half of the line's height over at least
/// half a line-height's width), rounded up, and never less than `minimumPixelationBlock`.
int pixelationBlockSize(const QRect& area, const std::vector<QRectF>& textLines);

/// A fresh random seed for `redact` (from the system's random source).
quint64 randomRedactionSeed();

/// The image with every area redacted, in order (a later area works on the result of the
/// earlier ones). The result has the image's size, Format_ARGB32_Premultiplied, device pixel
/// ratio 1 and the image's dots per metre; a null image gives a null image, and areas that
/// cover no pixel (see `redactionPixels`) are skipped, so an empty list gives an unchanged copy.
///
/// - fill: every pixel becomes `fill` made opaque (a translucent cover would let the secret
///   show through; a clear colour is taken as black).
/// - pixelate: blocks of `pixelationBlockSize(area, textLines)` pixels, starting at the area's
///   top-left corner (the blocks on the right and bottom edges are cut off by the area). Each
///   block becomes the mean of its pixels (alpha included), moved by a random offset per block
///   and channel of up to `pixelationBlockNoise` levels, plus per-pixel noise of up to
///   `pixelationPixelNoise` levels (a block's colour is kept that far inside 0…alpha so that
///   the noise fits; blocks with alpha below twice that get none). `textLines` are recognised
///   text lines in image pixels.
///
/// The noise comes from `seed` alone, so a seed gives the same picture every time; the editor
/// passes a fresh random one, so that nobody can subtract a known noise pattern.
QImage redact(const QImage& image, const std::vector<RedactionArea>& areas,
              const Color& fill = Color::black(), const std::vector<QRectF>& textLines = {},
              quint64 seed = randomRedactionSeed());

/// "Redact Area" for one, "Redact Areas" for more.
QString redactionActionName(int count);

} // namespace vellumix::imageops
