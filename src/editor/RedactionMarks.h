#pragma once

#include "canvas/CanvasGestureLayer.h"
#include "imaging/Redaction.h"
#include "model/Color.h"

#include <QImage>
#include <QRect>
#include <QRectF>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

namespace vellumix {

/// One rectangle marked for redaction, in canvas coordinates.
struct RedactionMark {
    QRectF rect;
    /// Marks start switched on; a click switches one off and on again. Only the ones switched on
    /// are redacted.
    bool enabled = true;
    /// What "Find sensitive text" took it for ("Email address"); empty for a dragged mark.
    QString label;

    bool isProposal() const { return !label.isEmpty(); }
};

/// The Redact mode of the image-edit session: the marks dragged over the picture or proposed by
/// "Find sensitive text", the style they are redacted in, and the gesture that adds or toggles
/// them. Nothing changes the picture until the session is applied; the marks are previewed as
/// they will come out.
class RedactionMarks final : public CanvasGestureLayer {
public:
    /// Marks smaller than this (canvas units, either side) are taken for a click.
    static constexpr double minimumSide = 4;

    bool isActive() const override { return m_active; }
    void setActive(bool active);

    imageops::RedactionStyle style() const { return m_style; }
    void setStyle(imageops::RedactionStyle style);
    const Color& fillColor() const { return m_fillColor; }
    void setFillColor(const Color& color);

    /// The picture the marks lie on, at (`origin`, its size) in the canvas; its text lines are
    /// unknown until `setTextLines`.
    void setImage(const QImage& image, QPointF origin);
    /// Recognised text lines (image pixels): the pixelation's block size follows them.
    void setTextLines(std::vector<QRectF> lines);
    /// What the pixelation's block size follows: the recognised lines once known; before that,
    /// each mark no taller than `singleLineHeight` is taken for one line of text, so that its
    /// blocks are as tall as the mark and no glyph survives.
    std::vector<QRectF> blockGuides() const;
    static constexpr double singleLineHeight = 64;

    const std::vector<RedactionMark>& marks() const { return m_marks; }
    /// Replaces the earlier proposals (dragged marks stay); a proposal that covers the same
    /// rectangle as a dragged mark is left out.
    void setProposals(std::vector<RedactionMark> proposals);
    void clear();
    /// The picture was turned or mirrored: every mark follows it through `map` (canvas
    /// coordinates in, canvas coordinates out).
    void mapMarks(const std::function<QRectF(const QRectF&)>& map);
    int enabledCount() const;
    /// The marks switched on, in image pixels, for `imageops::redact`.
    std::vector<imageops::RedactionArea> areas() const;

    void mouseDown(QPointF point) override;
    void mouseDragged(QPointF point) override;
    void mouseUp(QPointF point) override;
    std::optional<QRectF> dragRect() const;
    void paint(QPainter& painter, const CanvasSnapshot& c) const override;

    /// The marks, the style or the drag changed: repaint (and refresh counts).
    std::function<void()> onChanged;

private:
    void changed();
    std::optional<int> markAt(QPointF point) const;
    QRectF imageRect() const { return QRectF(m_origin, QSizeF(m_imageSize)); }

    bool m_active = false;
    imageops::RedactionStyle m_style = imageops::RedactionStyle::fill;
    Color m_fillColor = Color::black();
    QSize m_imageSize;
    QPointF m_origin;
    std::vector<QRectF> m_textLines;
    bool m_hasTextLines = false;
    std::vector<RedactionMark> m_marks;
    /// A pixelated mark's block means, as last painted.
    struct Preview {
        qint64 image = 0;
        QRect pixels;
        int block = 0;
        QImage blocks;
        bool sameAs(const Preview& o) const {
            return image == o.image && pixels == o.pixels && block == o.block;
        }
    };
    mutable std::vector<Preview> m_previews;
    std::optional<QPointF> m_dragStart;
    std::optional<QPointF> m_dragEnd;
};

} // namespace vellumix
