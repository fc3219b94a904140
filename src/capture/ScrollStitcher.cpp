#include "capture/ScrollStitcher.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace vellumix::capture {

namespace {

// Rows allowed to differ where strips overlap: a text line or two at typical sizes, so a
// blinking cursor or a hover highlight does not hide the right shift. Wrong shifts that get
// through on blank rows lose on the count of matching rows with content.
int allowanceFor(int rows) {
    return std::max(4, rows / 10);
}

// The overlap must be at least this big for a shift to be believed.
int minimumOverlap(int body) {
    return std::max(8, body / 8);
}

} // namespace

ScrollStitcher::ScrollStitcher(int maxHeight) : m_maxHeight(maxHeight) {}

ScrollStitcher::Rows ScrollStitcher::hashRows(const QImage& strip) {
    Rows rows;
    const int height = strip.height();
    rows.hash.resize(height);
    rows.flat.resize(height);
    const auto bytes = static_cast<std::size_t>(strip.bytesPerLine());
    const int pixelBytes = std::max(1, strip.depth() / 8);
    const auto used = static_cast<std::size_t>(strip.width() * pixelBytes);
    for (int y = 0; y < height; ++y) {
        const char* line = reinterpret_cast<const char*>(strip.constScanLine(y));
        rows.hash[y] = std::hash<std::string_view>{}(std::string_view(line, std::min(used, bytes)));
        bool flat = true;
        for (std::size_t x = pixelBytes; x < used && flat; x += pixelBytes) {
            flat = std::equal(line, line + pixelBytes, line + x);
        }
        rows.flat[y] = flat;
    }
    return rows;
}

// Rows in [from, to) of `next` that differ from the previous strip's rows `shift` further down,
// stopping early once past `allowance`.
int ScrollStitcher::mismatches(const Rows& next, int from, int to, int shift, int allowance) const {
    int count = 0;
    for (int y = from; y < to && count <= allowance; ++y) {
        count += next.hash[y] != m_previousRows.hash[y + shift];
    }
    return count;
}

// The scroll distance of the body between `header` and `footer`, 0 when nothing fits.
int ScrollStitcher::findShift(const Rows& next, int header, int footer) const {
    const int end = static_cast<int>(next.hash.size()) - footer;
    const int body = end - header;
    int best = 0;
    int bestScore = -1;
    int bestMisses = 0;
    for (int shift = 1; shift <= body - minimumOverlap(body); ++shift) {
        const int overlap = body - shift;
        const int allowance = allowanceFor(overlap);
        const int misses = mismatches(next, header, end - shift, shift, allowance);
        if (misses > allowance) {
            continue;
        }
        int score = 0;
        for (int y = header; y < end - shift; ++y) {
            score += !next.flat[y] && next.hash[y] == m_previousRows.hash[y + shift];
        }
        const bool better = score > bestScore || (score == bestScore && misses < bestMisses) ||
                            (score == bestScore && misses == bestMisses && m_lastShift > 0 &&
                             std::abs(shift - m_lastShift) < std::abs(best - m_lastShift));
        if (better) {
            best = shift;
            bestScore = score;
            bestMisses = misses;
        }
    }
    // Only flat rows lining up is no evidence of where the content went.
    return bestScore > 0 ? best : 0;
}

ScrollStitcher::Step ScrollStitcher::add(const QImage& strip) {
    Rows rows = hashRows(strip);
    const int height = strip.height();
    if (m_previous.isNull()) {
        const int count = std::min(height, m_maxHeight);
        push(strip, 0, count);
        m_previous = strip;
        m_previousRows = std::move(rows);
        m_lastAdvance = count;
        return count < height ? Step::Full : Step::Appended;
    }
    int informative = 0;
    for (int y = 0; y < height; ++y) {
        informative += !rows.flat[y] || !m_previousRows.flat[y];
    }
    const int stillAllowance = allowanceFor(informative);
    if (mismatches(rows, 0, height, 0, stillAllowance) <= stillAllowance) {
        return Step::Unchanged;
    }
    int header = 0;
    while (header < height && rows.hash[header] == m_previousRows.hash[header]) {
        ++header;
    }
    int footer = 0;
    while (footer < height - header &&
           rows.hash[height - 1 - footer] == m_previousRows.hash[height - 1 - footer]) {
        ++footer;
    }
    const int shift = findShift(rows, header, footer);
    if (shift == 0) {
        return Step::NoOverlap;
    }
    // The revealed rows go above the footer, which moves down with them.
    const int advance = std::min(shift, m_maxHeight - m_height);
    trimBottom(footer);
    push(strip, height - footer - shift, advance + footer);
    if (advance < shift) {
        trimBottom(footer);
    }
    m_previous = strip;
    m_previousRows = std::move(rows);
    m_lastShift = shift;
    m_lastAdvance = advance;
    return advance < shift || m_height >= m_maxHeight ? Step::Full : Step::Appended;
}

void ScrollStitcher::trimBottom(int rows) {
    m_height -= rows;
    while (rows > 0 && !m_pieces.empty()) {
        Piece& last = m_pieces.back();
        const int taken = std::min(rows, last.count);
        last.count -= taken;
        rows -= taken;
        if (last.count == 0) {
            m_pieces.pop_back();
        }
    }
}

void ScrollStitcher::push(const QImage& strip, int top, int count) {
    if (count > 0) {
        m_pieces.push_back({strip, top, count});
        m_height += count;
    }
}

QImage ScrollStitcher::image() const {
    if (m_pieces.empty()) {
        return {};
    }
    const QImage& first = m_pieces.front().strip;
    QImage result(first.width(), m_height, first.format());
    const auto lineBytes = static_cast<std::size_t>(result.bytesPerLine());
    int y = 0;
    for (const Piece& piece : m_pieces) {
        for (int row = 0; row < piece.count; ++row, ++y) {
            std::copy_n(piece.strip.constScanLine(piece.top + row), lineBytes, result.scanLine(y));
        }
    }
    return result;
}

} // namespace vellumix::capture
