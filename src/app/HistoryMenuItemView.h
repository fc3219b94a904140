#pragma once

#include <QImage>
#include <QWidget>

#include <functional>

namespace vellumix {

/// One row of the status menu's History submenu, 212 × 36: the bundle's thumbnail, a badge
/// (a folder for an external bundle, a clock for a captured one), the title and, for captured
/// entries, a trash icon shown while the row is hovered. A click opens the entry; Shift-click
/// reveals it in the file manager and keeps the menu open; a click on the trash deletes it.
class HistoryMenuItemView final : public QWidget {
    Q_OBJECT

public:
    static constexpr QSize rowSize{212, 36};
    /// The trash's zone: the rightmost 34 units of a captured entry's row.
    static constexpr int trashZone = 34;

    HistoryMenuItemView(const QImage& thumbnail, const QString& title, bool isExternal,
                        QWidget* parent = nullptr);

    std::function<void()> onOpen;
    std::function<void()> onDelete;
    std::function<void()> onReveal;

    bool isExternal() const { return m_isExternal; }
    bool isRowHovered() const { return m_rowHovered; }
    bool isTrashHovered() const { return m_trashHovered; }
    const QString& title() const { return m_title; }

    /// 212 × 36 at least; wider so the title gets its 160 units and fits whole where it can.
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool inTrashZone(QPointF point) const;
    QFont titleFont() const;

    QImage m_thumbnail;
    QString m_title;
    bool m_isExternal;
    bool m_rowHovered = false;
    bool m_trashHovered = false;
};

} // namespace vellumix
