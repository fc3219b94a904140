#pragma once

#include <QtGlobal>

#include <cstddef>

namespace vellumix {

/// PNG's per-row filter choice: every row is scored under all five filters and the one whose
/// bytes, read as signed, sum to the least magnitude is kept (the heuristic libpng and the PNG
/// book recommend). Rows of 8-bit RGB or RGBA.
class RowFilter {
public:
    RowFilter(size_t rowLength, int bytesPerPixel);

    /// Writes the filter type byte and the filtered row at `out`; returns the end.
    uchar* write(const uchar* row, const uchar* previous, uchar* out) const;

private:
    size_t m_length;
    size_t m_bpp;
};

} // namespace vellumix
