#pragma once

#include "library/StyleLibrary.h"

#include <QMenu>
#include <QPointer>
#include <QWidget>

#include <functional>

class QAbstractButton;
class QWidgetAction;

namespace vellumix {

/// One preset in the preset menu: the style's preview, the date it was saved and a trash
/// button, 188 × 34 (wider only when the date does not fit the font). The row is highlighted
/// while the pointer is over it or while the menu's arrow keys have made it current. A click or
/// Return selects it; the trash button or the Delete key deletes it. In a QMenu the rows share
/// the menu's notion of the current item, so the arrow keys continue from the pointer's row.
class PresetRowView final : public QWidget {
    Q_OBJECT

public:
    static constexpr QSize rowSize{188, 34};

    PresetRowView(const AnnotationStyle& style, Tool tool, const QString& label,
                  QWidget* parent = nullptr);

    std::function<void()> onSelect;
    std::function<void()> onDelete;

    const AnnotationStyle& style() const { return m_style; }
    Tool tool() const { return m_tool; }
    const QString& label() const { return m_label; }
    bool isRowHovered() const { return m_rowHovered; }
    bool isTrashHovered() const;
    /// Drawn with the highlight: the row the pointer entered or moved in last, or the one the
    /// keyboard made current since; never two at once.
    bool isHighlighted() const { return m_current; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QFont labelFont() const;
    void takeOverFromKeyboard();

    AnnotationStyle m_style;
    Tool m_tool;
    QString m_label;
    QAbstractButton* m_trash = nullptr;
    bool m_rowHovered = false;
    bool m_current = false;
};

/// Fills a menu with the saved presets of one tool, newest first, re-reading them from the
/// library on every rebuild. The owner calls `rebuild()` before each showing and decides what
/// applying and deleting do; the menu removes a deleted row while it stays open.
class PresetMenuController final {
public:
    static inline const QString emptyTitle = QStringLiteral("No saved styles");

    PresetMenuController(StyleLibrary& library, Tool tool, QWidget* menuParent = nullptr);
    ~PresetMenuController();
    PresetMenuController(const PresetMenuController&) = delete;
    PresetMenuController& operator=(const PresetMenuController&) = delete;

    Tool tool() const { return m_tool; }
    void setTool(Tool tool) { m_tool = tool; }
    QMenu* menu() const { return m_menu; }

    /// A row was chosen; the menu has closed.
    std::function<void(const PresetEntry&)> onApply;
    /// A row's trash was clicked; the owner deletes the preset from the library.
    std::function<void(const PresetEntry&)> onDelete;

    /// Replaces the menu's items with the tool's current presets, or one disabled
    /// "No saved styles" item when there are none.
    void rebuild();

    /// A preset's row title: its save time in local time, as "3/7, 2:25 PM".
    static QString savedAtLabel(const QDateTime& savedAt);

private:
    void addRow(const PresetEntry& preset);
    void addEmptyItem();
    void apply(const PresetEntry& preset);
    void removeRow(QWidgetAction* action);

    StyleLibrary& m_library;
    Tool m_tool;
    QPointer<QMenu> m_menu;
};

} // namespace vellumix
