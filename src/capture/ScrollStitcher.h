#pragma once

#include <QImage>

#include <cstdint>
#include <vector>

namespace vellumix::capture {

/// Joins the strips of a scrolling capture into one tall picture.
///
/// Each strip is a grab of the same area after the content under it has scrolled down. A strip
/// is matched against the previous one row by row: rows that stay put at the top and bottom
/// (a fixed header or footer inside the area) are set aside, and the scroll distance is the
/// shift at which the rest lines up. A few rows may differ at the right shift (a blinking
/// cursor), and rows of one flat colour count for little, so blank stretches cannot make a wrong
/// shift look as good as the right one. The header stays at the top of the picture, the footer
/// at the bottom, and only the newly revealed rows go between.
class ScrollStitcher {
public:
    enum class Step {
        Appended,  ///< New rows were added (the first strip always is).
        Unchanged, ///< The content did not move: the end of the page.
        NoOverlap, ///< Nothing lines up (the content jumped or changed): nothing was added.
        Full,      ///< The height limit was reached; the strip was added up to it.
    };

    explicit ScrollStitcher(int maxHeight = 20000);

    /// Adds the next grab. Every strip must have the first one's size and format.
    Step add(const QImage& strip);

    /// The stitched picture so far (the first strip's format; null before any strip).
    QImage image() const;
    int height() const { return m_height; }
    /// Rows the last Appended/Full step added.
    int lastAdvance() const { return m_lastAdvance; }

private:
    struct Rows {
        std::vector<std::uint64_t> hash;
        std::vector<bool> flat; // one colour across: says little about where a row belongs
    };
    struct Piece {
        QImage strip;
        int top;
        int count;
    };

    static Rows hashRows(const QImage& strip);
    int mismatches(const Rows& next, int from, int to, int shift, int allowance) const;
    int findShift(const Rows& next, int header, int footer) const;
    void trimBottom(int rows);
    void push(const QImage& strip, int top, int count);

    int m_maxHeight;
    int m_height = 0;
    int m_lastAdvance = 0;
    int m_lastShift = 0;
    QImage m_previous;
    Rows m_previousRows;
    std::vector<Piece> m_pieces;
};

} // namespace vellumix::capture
