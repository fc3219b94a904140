#pragma once

#include <QtGlobal>

#include <array>
#include <cstddef>
#include <vector>

namespace vellumix {

/// PNG's per-row filter choice: every row is tried with all five filters and the one whose
/// bytes, read as signed, sum to the least magnitude is kept (the heuristic libpng and the PNG
/// book recommend). Rows of 8-bit RGB or RGBA.
class RowFilter {
public:
    RowFilter(size_t rowLength, int bytesPerPixel);

    /// Writes the filter type byte and the filtered row at `out`; returns the end.
    uchar* write(const uchar* row, const uchar* previous, uchar* out);

private:
    size_t m_length;
    size_t m_bpp;
    std::array<std::vector<uchar>, 5> m_candidates;
};

} // namespace vellumix
