#include "PaletteQuantizer.h"

#include "ImageExportDetail.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vellumix {

namespace {

using exportDetail::straightRow;

constexpr int maxColors = 256;
constexpr int alphaThreshold = 128;
// Histogram cells: the top 6 bits of each channel.
constexpr int cellBits = 6;
constexpr int cellShift = 8 - cellBits;
constexpr int cellCount = 1 << (3 * cellBits);
// More partial histograms than this cost more memory than they save time.
constexpr int maxHistogramBands = 4;

inline int cellOf(int r, int g, int b) {
    return ((r >> cellShift) << (2 * cellBits)) | ((g >> cellShift) << cellBits) | (b >> cellShift);
}

inline bool isTransparent(QRgb p) {
    return qAlpha(p) < alphaThreshold;
}

struct Cell {
    uint64_t count = 0;
    std::array<uint64_t, 3> sum{};
};

// One occupied histogram cell: its pixel count, channel sums and mean colour.
struct Entry {
    uint64_t count;
    std::array<double, 3> sum;
    std::array<double, 3> mean;
};

// A median-cut box: a run of entries with their totals.
struct Box {
    size_t begin;
    size_t end;
    double count = 0;
    std::array<double, 3> sum{};
    // Σ count · mean², per channel: the spread inside a cell is ignored.
    std::array<double, 3> squares{};

    double channelError(int c) const { return squares[c] - sum[c] * sum[c] / count; }
    double error() const { return channelError(0) + channelError(1) + channelError(2); }
};

Box boxOf(const std::vector<Entry>& entries, size_t begin, size_t end) {
    Box box{begin, end};
    for (size_t i = begin; i < end; ++i) {
        const Entry& e = entries[i];
        box.count += double(e.count);
        for (int c = 0; c < 3; ++c) {
            box.sum[c] += e.sum[c];
            box.squares[c] += e.sum[c] * e.mean[c];
        }
    }
    return box;
}

// Sorts the box along its widest channel and cuts it where the two halves' summed squared
// error is least. Returns where the second half begins; `box.begin` when it cannot be cut.
size_t bestCut(std::vector<Entry>& entries, const Box& box) {
    if (box.end - box.begin < 2) {
        return box.begin;
    }
    int axis = 0;
    for (int c = 1; c < 3; ++c) {
        if (box.channelError(c) > box.channelError(axis)) {
            axis = c;
        }
    }
    std::sort(entries.begin() + static_cast<std::ptrdiff_t>(box.begin),
              entries.begin() + static_cast<std::ptrdiff_t>(box.end),
              [axis](const Entry& a, const Entry& b) { return a.mean[axis] < b.mean[axis]; });
    Box left{box.begin, box.begin};
    double bestError = INFINITY;
    size_t best = box.begin;
    for (size_t i = box.begin; i + 1 < box.end; ++i) {
        const Entry& e = entries[i];
        left.count += double(e.count);
        double error = 0;
        for (int c = 0; c < 3; ++c) {
            left.sum[c] += e.sum[c];
            left.squares[c] += e.sum[c] * e.mean[c];
            const double rightCount = box.count - left.count;
            const double rightSum = box.sum[c] - left.sum[c];
            error += left.channelError(c) +
                     (box.squares[c] - left.squares[c] - rightSum * rightSum / rightCount);
        }
        if (error < bestError) {
            bestError = error;
            best = i + 1;
        }
    }
    return best;
}

} // namespace

// The distinct colours of a picture of few colours, with their palette indices: an open-
// addressed table keyed by the opaque colour, or 0 for transparency.
class PaletteQuantizer::ExactColors {
public:
    static constexpr uint32_t transparentKey = 0;

    static uint32_t keyOf(QRgb p) { return isTransparent(p) ? transparentKey : p | 0xff000000u; }

    // False once the colours no longer fit.
    bool insert(uint32_t key) {
        const size_t slot = find(key);
        if (m_keys[slot] == key) {
            return true;
        }
        if (m_order.size() == maxColors) {
            return false;
        }
        m_keys[slot] = key;
        m_order.push_back(key);
        return true;
    }

    int indexOf(uint32_t key) const { return m_index[find(key)]; }
    const std::vector<uint32_t>& keys() const { return m_order; }
    void setIndex(uint32_t key, int index) { m_index[find(key)] = static_cast<uint8_t>(index); }

private:
    // No key has alpha 0 with blue 1, so that marks an empty slot.
    static constexpr uint32_t empty = 1;
    static constexpr int slotBits = 10;

    size_t find(uint32_t key) const {
        size_t slot = (key * 2654435761u) >> (32 - slotBits);
        while (m_keys[slot] != key && m_keys[slot] != empty) {
            slot = (slot + 1) & ((1u << slotBits) - 1);
        }
        return slot;
    }

    std::vector<uint32_t> m_keys = std::vector<uint32_t>(1u << slotBits, empty);
    std::vector<uint8_t> m_index = std::vector<uint8_t>(1u << slotBits, 0);
    std::vector<uint32_t> m_order;
};

// Nearest palette entry of a colour, exactly, by a table of candidates per histogram cell:
// only entries within (distance of the cell centre's nearest) + (twice the cell's half
// diagonal) of the centre can be nearest to a colour inside the cell. Filled as cells are met.
struct PaletteQuantizer::Nearest {
    explicit Nearest(const std::vector<QRgb>& palette, int opaqueCount) {
        for (int i = 0; i < opaqueCount; ++i) {
            colors.push_back({qRed(palette[i]), qGreen(palette[i]), qBlue(palette[i])});
        }
    }

    int operator()(int r, int g, int b) {
        const int cell = cellOf(r, g, b);
        if (start[cell] < 0) {
            fill(cell, r >> cellShift, g >> cellShift, b >> cellShift);
        }
        const uint8_t* candidate = pool.data() + start[cell];
        int best = candidate[0];
        int bestDistance = INT32_MAX;
        for (int i = 0; i < length[cell]; ++i) {
            const auto& c = colors[candidate[i]];
            const int dr = r - c[0], dg = g - c[1], db = b - c[2];
            const int distance = dr * dr + dg * dg + db * db;
            if (distance < bestDistance) {
                bestDistance = distance;
                best = candidate[i];
            }
        }
        return best;
    }

    void fill(int cell, int cr, int cg, int cb) {
        constexpr double half = ((1 << cellShift) - 1) / 2.0;
        const double centre[3] = {(cr << cellShift) + half, (cg << cellShift) + half,
                                  (cb << cellShift) + half};
        std::vector<double> distance(colors.size());
        double nearest = INFINITY;
        for (size_t i = 0; i < colors.size(); ++i) {
            double d = 0;
            for (int c = 0; c < 3; ++c) {
                d += (colors[i][c] - centre[c]) * (colors[i][c] - centre[c]);
            }
            distance[i] = std::sqrt(d);
            nearest = std::min(nearest, distance[i]);
        }
        const double reach = nearest + 2 * half * std::sqrt(3.0) + 1e-9;
        start[cell] = static_cast<int>(pool.size());
        for (size_t i = 0; i < colors.size(); ++i) {
            if (distance[i] <= reach) {
                pool.push_back(static_cast<uint8_t>(i));
            }
        }
        length[cell] = static_cast<int16_t>(pool.size() - static_cast<size_t>(start[cell]));
    }

    std::vector<std::array<int, 3>> colors;
    std::vector<int> start = std::vector<int>(cellCount, -1);
    std::vector<int16_t> length = std::vector<int16_t>(cellCount, 0);
    std::vector<uint8_t> pool;
};

PaletteQuantizer::PaletteQuantizer(const QImage& prepared) : m_image(prepared) {
    if (collectExactColors()) {
        m_exact = true;
        return;
    }
    m_exactColors.reset();
    buildMedianCutPalette();
    const size_t width = static_cast<size_t>(m_image.width());
    m_errorThis.assign((width + 2) * 3, 0);
    m_errorNext.assign((width + 2) * 3, 0);
}

PaletteQuantizer::~PaletteQuantizer() = default;

bool PaletteQuantizer::collectExactColors() {
    m_exactColors = std::make_unique<ExactColors>();
    uint32_t last = 1; // no key
    for (int y = 0; y < m_image.height(); ++y) {
        const QRgb* row = straightRow(m_image, y, m_scratch);
        for (int x = 0; x < m_image.width(); ++x) {
            const uint32_t key = ExactColors::keyOf(row[x]);
            if (key != last && !m_exactColors->insert(key)) {
                return false;
            }
            last = key;
        }
    }
    std::vector<uint32_t> keys = m_exactColors->keys();
    // Opaque colours first in order of appearance, transparency last.
    std::stable_partition(keys.begin(), keys.end(),
                          [](uint32_t k) { return k != ExactColors::transparentKey; });
    for (uint32_t key : keys) {
        if (key == ExactColors::transparentKey) {
            m_transparentIndex = static_cast<int>(m_palette.size());
        }
        m_exactColors->setIndex(key, static_cast<int>(m_palette.size()));
        m_palette.push_back(key);
    }
    return true;
}

void PaletteQuantizer::buildMedianCutPalette() {
    const int height = m_image.height();
    const int width = m_image.width();
    const int bands = std::min(parallelPieces(height, 64), maxHistogramBands);
    std::vector<std::vector<Cell>> partial(static_cast<size_t>(bands));
    std::vector<char> sawTransparent(static_cast<size_t>(bands), 0);
    runInParallel(bands, [&](int band) {
        std::vector<Cell>& cells = partial[static_cast<size_t>(band)];
        cells.resize(cellCount);
        std::vector<QRgb> scratch;
        const int top = static_cast<int>(static_cast<long long>(height) * band / bands);
        const int bottom = static_cast<int>(static_cast<long long>(height) * (band + 1) / bands);
        for (int y = top; y < bottom; ++y) {
            const QRgb* row = straightRow(m_image, y, scratch);
            for (int x = 0; x < width; ++x) {
                const QRgb p = row[x];
                if (isTransparent(p)) {
                    sawTransparent[static_cast<size_t>(band)] = 1;
                    continue;
                }
                Cell& cell = cells[static_cast<size_t>(cellOf(qRed(p), qGreen(p), qBlue(p)))];
                ++cell.count;
                cell.sum[0] += uint64_t(qRed(p));
                cell.sum[1] += uint64_t(qGreen(p));
                cell.sum[2] += uint64_t(qBlue(p));
            }
        }
    });

    std::vector<Entry> entries;
    for (int i = 0; i < cellCount; ++i) {
        Cell total;
        for (const auto& cells : partial) {
            total.count += cells[static_cast<size_t>(i)].count;
            for (int c = 0; c < 3; ++c) {
                total.sum[c] += cells[static_cast<size_t>(i)].sum[c];
            }
        }
        if (total.count > 0) {
            Entry e{total.count, {}, {}};
            for (int c = 0; c < 3; ++c) {
                e.sum[c] = double(total.sum[c]);
                e.mean[c] = e.sum[c] / double(total.count);
            }
            entries.push_back(e);
        }
    }
    partial.clear();
    const bool transparent =
        std::any_of(sawTransparent.begin(), sawTransparent.end(), [](char c) { return c; });

    std::vector<Box> boxes;
    if (!entries.empty()) {
        boxes.push_back(boxOf(entries, 0, entries.size()));
    }
    const size_t limit = size_t(maxColors - (transparent ? 1 : 0));
    while (boxes.size() < limit) {
        // Cut the box holding the most squared error.
        auto worst = boxes.end();
        for (auto it = boxes.begin(); it != boxes.end(); ++it) {
            if (it->end - it->begin > 1 && it->error() > 0 &&
                (worst == boxes.end() || it->error() > worst->error())) {
                worst = it;
            }
        }
        if (worst == boxes.end()) {
            break;
        }
        const Box box = *worst;
        const size_t cut = bestCut(entries, box);
        *worst = boxOf(entries, box.begin, cut);
        boxes.push_back(boxOf(entries, cut, box.end));
    }
    for (const Box& box : boxes) {
        const auto channel = [&](int c) { return int(std::lround(box.sum[c] / box.count)); };
        m_palette.push_back(qRgb(channel(0), channel(1), channel(2)));
    }
    m_nearest = std::make_unique<Nearest>(m_palette, static_cast<int>(m_palette.size()));
    if (transparent) {
        m_transparentIndex = static_cast<int>(m_palette.size());
        m_palette.push_back(0);
    }
}

void PaletteQuantizer::nextRow(uint8_t* indices) {
    const QRgb* row = straightRow(m_image, m_row, m_scratch);
    if (m_exact) {
        mapExactRow(row, indices);
    } else {
        ditherRow(row, indices);
    }
    ++m_row;
}

void PaletteQuantizer::mapExactRow(const QRgb* row, uint8_t* indices) {
    uint32_t lastKey = 1; // no key
    uint8_t lastIndex = 0;
    for (int x = 0; x < m_image.width(); ++x) {
        const uint32_t key = ExactColors::keyOf(row[x]);
        if (key != lastKey) {
            lastKey = key;
            lastIndex = static_cast<uint8_t>(m_exactColors->indexOf(key));
        }
        indices[x] = lastIndex;
    }
}

void PaletteQuantizer::ditherRow(const QRgb* row, uint8_t* indices) {
    const int width = m_image.width();
    // Serpentine: odd rows run right to left, so the error does not drift one way.
    const bool forward = m_row % 2 == 0;
    const int step = forward ? 1 : -1;
    int* here = m_errorThis.data() + 3; // pixel 0; the margins absorb spill at both ends
    int* below = m_errorNext.data() + 3;
    for (int i = 0; i < width; ++i) {
        const int x = forward ? i : width - 1 - i;
        const QRgb p = row[x];
        if (isTransparent(p)) {
            indices[x] = static_cast<uint8_t>(*m_transparentIndex);
            continue;
        }
        int value[3] = {qRed(p), qGreen(p), qBlue(p)};
        int* e = here + 3 * x;
        for (int c = 0; c < 3; ++c) {
            value[c] = std::clamp(value[c] + ((e[c] + 8) >> 4), 0, 255);
        }
        const int index = (*m_nearest)(value[0], value[1], value[2]);
        indices[x] = static_cast<uint8_t>(index);
        const QRgb chosen = m_palette[static_cast<size_t>(index)];
        const int error[3] = {value[0] - qRed(chosen), value[1] - qGreen(chosen),
                              value[2] - qBlue(chosen)};
        int* ahead = here + 3 * (x + step);
        int* b = below + 3 * x;
        for (int c = 0; c < 3; ++c) {
            ahead[c] += error[c] * 7;
            b[c - 3 * step] += error[c] * 3;
            b[c] += error[c] * 5;
            b[c + 3 * step] += error[c];
        }
    }
    std::swap(m_errorThis, m_errorNext);
    std::fill(m_errorNext.begin(), m_errorNext.end(), 0);
}

} // namespace vellumix
