#pragma once

#include <QImage>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vellumix {

/// At most 256 colours standing for a picture, and its rows mapped onto them, for GIF.
///
/// A picture of at most 256 colours (transparency counting as one) keeps them exactly and is
/// mapped without dithering. Any other gets a palette by variance-minimising median cut over a
/// histogram of 6 bits per channel whose entries are the true mean colours of their boxes, so a
/// flat colour that fills a box comes out exact, and is mapped with Floyd–Steinberg error
/// diffusion in serpentine order. Pixels of alpha below 128 take the transparent entry; the
/// others count as opaque in their own colour.
class PaletteQuantizer {
public:
    /// Reads the whole picture once; `prepared` is RGB32, ARGB32 or ARGB32_Premultiplied and
    /// must outlive the quantiser.
    explicit PaletteQuantizer(const QImage& prepared);
    ~PaletteQuantizer();
    PaletteQuantizer(const PaletteQuantizer&) = delete;
    PaletteQuantizer& operator=(const PaletteQuantizer&) = delete;

    /// The entries, opaque colours first; the transparent one, when there is one, is last and
    /// reads 0 (transparent black).
    const std::vector<QRgb>& palette() const { return m_palette; }
    std::optional<int> transparentIndex() const { return m_transparentIndex; }
    /// Whether every colour of the picture is an entry, so rows map without error.
    bool isExact() const { return m_exact; }

    /// The palette indices of the next row; rows come top to bottom, each once, because the
    /// diffused error carries from one row into the next.
    void nextRow(uint8_t* indices);

private:
    struct Nearest;
    class ExactColors;

    bool collectExactColors();
    void buildMedianCutPalette();
    void mapExactRow(const QRgb* row, uint8_t* indices);
    void ditherRow(const QRgb* row, uint8_t* indices);

    const QImage& m_image;
    std::vector<QRgb> m_palette;
    std::optional<int> m_transparentIndex;
    bool m_exact = false;
    int m_row = 0;
    std::vector<QRgb> m_scratch;
    std::unique_ptr<ExactColors> m_exactColors;
    std::unique_ptr<Nearest> m_nearest;
    // Floyd–Steinberg error of this row and the next, in sixteenths, three channels per pixel
    // with one pixel of margin on either side.
    std::vector<int> m_errorThis;
    std::vector<int> m_errorNext;
};

} // namespace vellumix
