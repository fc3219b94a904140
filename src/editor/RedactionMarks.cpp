#include "RedactionMarks.h"

#include "canvas/CanvasSnapshot.h"
#include "model/AnnotationGeometry.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace vellumix {

namespace {

// Proposals are outlined in a warm colour that reads on light and dark pictures alike; marks
// switched off keep a dashed outline so that they can be switched on again.
const QColor proposalEdge(255, 149, 0);
const QColor dragEdge(0, 122, 255);

QRectF spanned(QPointF a, QPointF b) {
    return QRectF(a, b).normalized();
}

void drawTag(QPainter& painter, const QRectF& mark, const QString& text, double zoom) {
    QFont font = painter.font();
    font.setPointSizeF(9 * zoom);
    font.setBold(true);
    const QFontMetricsF metrics(font);
    const QSizeF size(metrics.horizontalAdvance(text) + 8 * zoom, metrics.height() + 2 * zoom);
    QRectF tag(mark.left(), mark.top() - size.height(), size.width(), size.height());
    if (tag.top() < 0) {
        tag.moveTop(mark.bottom());
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(proposalEdge);
    painter.drawRoundedRect(tag, 3 * zoom, 3 * zoom);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(tag, Qt::AlignCenter, text);
}

} // namespace

void RedactionMarks::setActive(bool active) {
    if (m_active == active) {
        return;
    }
    m_active = active;
    m_dragStart.reset();
    m_dragEnd.reset();
    changed();
}

void RedactionMarks::setStyle(imageops::RedactionStyle style) {
    m_style = style;
    changed();
}

void RedactionMarks::setFillColor(const Color& color) {
    m_fillColor = color;
    changed();
}

void RedactionMarks::setImage(const QImage& image, QPointF origin) {
    m_imageSize = image.size();
    m_origin = origin;
    // Lines recognised in another picture say nothing about this one.
    m_textLines.clear();
    m_hasTextLines = false;
}

void RedactionMarks::setTextLines(std::vector<QRectF> lines) {
    m_textLines = std::move(lines);
    m_hasTextLines = true;
    changed();
}

std::vector<QRectF> RedactionMarks::blockGuides() const {
    if (m_hasTextLines) {
        return m_textLines;
    }
    std::vector<QRectF> guides;
    for (const imageops::RedactionArea& area : areas()) {
        if (area.rect.height() <= singleLineHeight) {
            guides.push_back(area.rect);
        }
    }
    return guides;
}

void RedactionMarks::setProposals(std::vector<RedactionMark> proposals) {
    std::erase_if(m_marks, [](const RedactionMark& mark) { return mark.isProposal(); });
    const std::vector<RedactionMark> dragged = m_marks;
    for (RedactionMark& proposal : proposals) {
        const bool covered = std::any_of(dragged.begin(), dragged.end(), [&](const auto& mark) {
            return mark.rect.contains(proposal.rect);
        });
        if (!covered && !proposal.rect.isEmpty()) {
            m_marks.push_back(std::move(proposal));
        }
    }
    changed();
}

void RedactionMarks::clear() {
    m_marks.clear();
    m_dragStart.reset();
    m_dragEnd.reset();
    changed();
}

void RedactionMarks::mapMarks(const std::function<QRectF(const QRectF&)>& map) {
    for (RedactionMark& mark : m_marks) {
        mark.rect = map(mark.rect).normalized();
    }
    changed();
}

int RedactionMarks::enabledCount() const {
    return int(std::count_if(m_marks.begin(), m_marks.end(),
                             [](const RedactionMark& mark) { return mark.enabled; }));
}

std::vector<imageops::RedactionArea> RedactionMarks::areas() const {
    std::vector<imageops::RedactionArea> areas;
    for (const RedactionMark& mark : m_marks) {
        if (mark.enabled) {
            areas.push_back({mark.rect.translated(-m_origin), m_style});
        }
    }
    return areas;
}

std::optional<int> RedactionMarks::markAt(QPointF point) const {
    // The topmost (latest) mark wins, as it is drawn last.
    for (int i = int(m_marks.size()) - 1; i >= 0; --i) {
        if (geometry::containsClosed(m_marks[size_t(i)].rect, point)) {
            return i;
        }
    }
    return std::nullopt;
}

void RedactionMarks::mouseDown(QPointF point) {
    m_dragStart = point;
    m_dragEnd = point;
}

void RedactionMarks::mouseDragged(QPointF point) {
    if (!m_dragStart) {
        return;
    }
    m_dragEnd = point;
    changed();
}

std::optional<QRectF> RedactionMarks::dragRect() const {
    if (!m_dragStart || !m_dragEnd) {
        return std::nullopt;
    }
    const QRectF rect = spanned(*m_dragStart, *m_dragEnd) & imageRect();
    if (rect.width() < minimumSide || rect.height() < minimumSide) {
        return std::nullopt;
    }
    return rect;
}

void RedactionMarks::mouseUp(QPointF point) {
    if (!m_dragStart) {
        return;
    }
    m_dragEnd = point;
    const std::optional<QRectF> rect = dragRect();
    const QPointF start = *m_dragStart;
    m_dragStart.reset();
    m_dragEnd.reset();
    if (rect) {
        m_marks.push_back({*rect, true, {}});
    } else if (const auto hit = markAt(start)) {
        // A click switches a mark off or on again; a dragged mark switched off is gone.
        RedactionMark& mark = m_marks[size_t(*hit)];
        mark.enabled = !mark.enabled;
        if (!mark.enabled && !mark.isProposal()) {
            m_marks.erase(m_marks.begin() + *hit);
        }
    }
    changed();
}

void RedactionMarks::changed() {
    if (onChanged) {
        onChanged();
    }
}

void RedactionMarks::paint(QPainter& painter, const CanvasSnapshot& c) const {
    painter.save();
    const double zoom = c.zoom;
    const std::vector<QRectF> guides = blockGuides();
    // Block previews are kept from one paint to the next (a drag repaints many times a second);
    // only the ones still shown stay.
    std::vector<Preview> previews;
    for (const RedactionMark& mark : m_marks) {
        if (mark.enabled) {
            const QRect pixels =
                imageops::redactionPixels(mark.rect.translated(-m_origin), c.image.size());
            const QRectF target = QRectF(pixels).translated(m_origin);
            if (m_style == imageops::RedactionStyle::fill) {
                QColor fill = m_fillColor.toQColor();
                fill.setAlpha(255);
                painter.fillRect(target, fill);
            } else if (!pixels.isEmpty()) {
                // The preview: the area's block means, drawn back up without smoothing. The
                // picture that is applied gets its noise as well.
                const int block = imageops::pixelationBlockSize(pixels, guides);
                const QSize blocks((pixels.width() + block - 1) / block,
                                   (pixels.height() + block - 1) / block);
                const Preview key{c.image.cacheKey(), pixels, block, {}};
                const auto kept = std::find_if(m_previews.begin(), m_previews.end(),
                                               [&](const Preview& p) { return p.sameAs(key); });
                const QImage small =
                    kept != m_previews.end()
                        ? kept->blocks
                        : c.image.copy(pixels).scaled(blocks, Qt::IgnoreAspectRatio,
                                                      Qt::SmoothTransformation);
                previews.push_back({key.image, pixels, block, small});
                // The last row and column of blocks are cut off by the area.
                painter.save();
                painter.setClipRect(target, Qt::IntersectClip);
                painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
                painter.drawImage(QRectF(target.topLeft(), QSizeF(blocks * block)), small);
                painter.restore();
            }
        }
        QPen edge(mark.isProposal() ? proposalEdge : dragEdge, 2 * zoom);
        if (!mark.enabled) {
            edge.setStyle(Qt::DashLine);
            painter.fillRect(mark.rect, QColor(proposalEdge.red(), proposalEdge.green(),
                                               proposalEdge.blue(), 40));
        }
        painter.setPen(edge);
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(mark.rect.adjusted(-zoom, -zoom, zoom, zoom));
        if (mark.isProposal()) {
            drawTag(painter, mark.rect.adjusted(-zoom, -zoom, zoom, zoom), mark.label, zoom);
        }
    }
    if (const auto rect = dragRect()) {
        painter.setPen(QPen(dragEdge, 1.5 * zoom, Qt::DashLine));
        painter.setBrush(QColor(0, 122, 255, 40));
        painter.drawRect(*rect);
    }
    m_previews = std::move(previews);
    painter.restore();
}

} // namespace vellumix
