#include "PresetMenu.h"

#include "canvas/StyleSwatch.h"

#include <QAbstractButton>
#include <QIcon>
#include <QKeyEvent>
#include <QLocale>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QWidgetAction>

#include <algorithm>
#include <cmath>

namespace vellumix {

namespace {

constexpr double labelLeft = 68;
constexpr int labelPixelSize = 12;
constexpr int trashSide = 14;
constexpr int trashRightGap = 10;
// The highlight leaves 38 points of the row's width uncovered: 4 on the left, the trash's
// column on the right.
constexpr double highlightLeft = 4;
constexpr double highlightTop = 2;
constexpr double highlightUncovered = 38;
constexpr double highlightRadius = 5;
// Air between the label and the highlight's right end.
constexpr double labelRightGap = 4;

QIcon themeTrashIcon() {
    // The symbolic variant tints cleanly; the others are the usual freedesktop names.
    for (const char* name : {"user-trash-symbolic", "user-trash", "edit-delete"}) {
        if (QIcon::hasThemeIcon(QLatin1String(name))) {
            return QIcon::fromTheme(QLatin1String(name));
        }
    }
    return {};
}

// A plain can with a lid for desktops without an icon theme; 14 × 14.
void drawFallbackTrash(QPainter& painter, const QColor& color) {
    painter.setPen(QPen(color, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawLine(QLineF(2, 3.5, 12, 3.5));
    QPainterPath handle(QPointF(5.5, 3.5));
    handle.lineTo(5.5, 1.75);
    handle.lineTo(8.5, 1.75);
    handle.lineTo(8.5, 3.5);
    painter.drawPath(handle);
    QPainterPath can(QPointF(3.25, 3.5));
    can.lineTo(4, 12.5);
    can.lineTo(10, 12.5);
    can.lineTo(10.75, 3.5);
    painter.drawPath(can);
    painter.setPen(QPen(color, 1, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QLineF(6, 6, 6, 10.5));
    painter.drawLine(QLineF(8, 6, 8, 10.5));
}

/// The row's trash: a button so that screen readers can name and press it.
class TrashButton final : public QAbstractButton {
public:
    explicit TrashButton(PresetRowView* row) : QAbstractButton(row), m_row(row) {
        setFocusPolicy(Qt::NoFocus);
        setAccessibleName(QStringLiteral("Delete"));
        setAccessibleDescription(QStringLiteral("Delete"));
        setFixedSize(trashSide, trashSide);
    }

    bool isHovered() const { return m_hovered; }

protected:
    void enterEvent(QEnterEvent* event) override {
        m_hovered = true;
        update();
        QAbstractButton::enterEvent(event);
    }
    void leaveEvent(QEvent* event) override {
        m_hovered = false;
        update();
        QAbstractButton::leaveEvent(event);
    }
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        // The trash sits right of the row's highlight, on the menu's own background, so it
        // keeps the normal text colour there; red while the pointer is on it.
        const QColor tint =
            m_hovered ? SystemColors::red.toQColor() : palette().color(QPalette::WindowText);
        const QIcon icon = themeTrashIcon();
        if (icon.isNull()) {
            drawFallbackTrash(painter, tint);
            return;
        }
        // Theme icons come in their own colours; only their shape is kept.
        QImage shape = icon.pixmap(size(), devicePixelRatioF())
                           .toImage()
                           .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        QPainter tinter(&shape);
        tinter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        tinter.fillRect(QRect(QPoint(0, 0), shape.size()), tint);
        tinter.end();
        painter.drawImage(QRectF(rect()), shape);
    }

private:
    PresetRowView* m_row;
    bool m_hovered = false;
};

} // namespace

// MARK: - PresetRowView

PresetRowView::PresetRowView(const AnnotationStyle& style, Tool tool, const QString& label,
                             QWidget* parent)
    : QWidget(parent)
    , m_style(style)
    , m_tool(tool)
    , m_label(label)
    , m_trash(new TrashButton(this)) {
    // Tab focus only: the menu's arrow keys hand rows the focus, clicks do not.
    setFocusPolicy(Qt::TabFocus);
    setMouseTracking(true);
    setAccessibleName(label);
    connect(m_trash, &QAbstractButton::clicked, this, [this] {
        if (onDelete) {
            onDelete();
        }
    });
    resize(sizeHint());
}

bool PresetRowView::isTrashHovered() const {
    return static_cast<const TrashButton*>(m_trash)->isHovered();
}

QFont PresetRowView::labelFont() const {
    QFont font = this->font();
    font.setPixelSize(labelPixelSize);
    return font;
}

QSize PresetRowView::sizeHint() const {
    // Wide system fonts can need more than the usual width for a date like "12/28, 10:45 PM".
    const QFontMetricsF metrics(labelFont(), this);
    const double needed =
        labelLeft + metrics.horizontalAdvance(m_label) + labelRightGap + highlightUncovered;
    return {std::max(rowSize.width(), int(std::ceil(needed))), rowSize.height()};
}

void PresetRowView::resizeEvent(QResizeEvent*) {
    m_trash->move(width() - trashRightGap - trashSide, (height() - trashSide) / 2);
}

void PresetRowView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool highlighted = isHighlighted();
    const double highlightWidth = width() - highlightUncovered;
    if (highlighted) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().color(QPalette::Highlight));
        painter.drawRoundedRect(
            QRectF(highlightLeft, highlightTop, highlightWidth, height() - 2 * highlightTop),
            highlightRadius, highlightRadius);
    }
    render::drawStyleSwatch(painter, m_style, m_tool, height() / 2.0,
                            palette().color(QPalette::PlaceholderText));

    painter.setFont(labelFont());
    painter.setPen(palette().color(highlighted ? QPalette::HighlightedText : QPalette::WindowText));
    const QRectF labelBox(labelLeft, 0, highlightLeft + highlightWidth - labelRightGap - labelLeft,
                          height());
    const QString text =
        painter.fontMetrics().elidedText(m_label, Qt::ElideRight, int(labelBox.width()));
    painter.drawText(labelBox, Qt::AlignLeft | Qt::AlignVCenter, text);
}

void PresetRowView::enterEvent(QEnterEvent* event) {
    m_rowHovered = true;
    takeOverFromKeyboard();
    QWidget::enterEvent(event);
}

void PresetRowView::leaveEvent(QEvent* event) {
    m_rowHovered = false;
    m_current = false;
    update();
    QWidget::leaveEvent(event);
}

void PresetRowView::mouseMoveEvent(QMouseEvent* event) {
    // After the arrow keys moved on, the pointer's next move brings the highlight back.
    if (!m_current) {
        takeOverFromKeyboard();
    }
    QWidget::mouseMoveEvent(event);
}

// QMenu already makes the pointer's row its current item, so the arrow keys continue from it;
// taking the focus removes the highlight from the row the keyboard had made current.
void PresetRowView::takeOverFromKeyboard() {
    m_current = true;
    update();
    setFocus(Qt::MouseFocusReason);
}

void PresetRowView::mousePressEvent(QMouseEvent* event) {
    // Taken here so that the menu does not treat it as a press on its own items.
    event->accept();
}

void PresetRowView::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()) &&
        onSelect) {
        onSelect();
    }
}

void PresetRowView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (onSelect) {
            onSelect();
        }
        return;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        // The trash is out of the arrow keys' reach; this is its keyboard route.
        if (onDelete) {
            onDelete();
        }
        return;
    default:
        // Arrows, Escape and the rest belong to the menu.
        event->ignore();
    }
}

void PresetRowView::focusInEvent(QFocusEvent* event) {
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason) {
        m_current = true;
        update();
    }
    QWidget::focusInEvent(event);
}

void PresetRowView::focusOutEvent(QFocusEvent* event) {
    m_current = false;
    update();
    QWidget::focusOutEvent(event);
}

// MARK: - PresetMenuController

PresetMenuController::PresetMenuController(StyleLibrary& library, Tool tool, QWidget* menuParent)
    : m_library(library), m_tool(tool), m_menu(new QMenu(menuParent)) {}

PresetMenuController::~PresetMenuController() {
    delete m_menu;
}

QString PresetMenuController::savedAtLabel(const QDateTime& savedAt) {
    return QLocale::c().toString(savedAt.toLocalTime(), QStringLiteral("M/d, h:mm AP"));
}

void PresetMenuController::rebuild() {
    if (!m_menu) {
        return;
    }
    // Deleted later: a rebuild may come from inside a row's own click.
    const QList<QAction*> old = m_menu->actions();
    for (QAction* action : old) {
        m_menu->removeAction(action);
        action->deleteLater();
    }
    const ToolPresets presets = m_library.loadPresets();
    const auto found = presets.find(m_tool);
    if (found == presets.end() || found->second.empty()) {
        addEmptyItem();
        return;
    }
    for (const PresetEntry& preset : found->second) {
        addRow(preset);
    }
}

void PresetMenuController::addEmptyItem() {
    QAction* empty = m_menu->addAction(emptyTitle);
    empty->setEnabled(false);
}

void PresetMenuController::addRow(const PresetEntry& preset) {
    const QString label = savedAtLabel(preset.savedAt);
    auto* row = new PresetRowView(preset.style, m_tool, label);
    auto* action = new QWidgetAction(m_menu);
    // The menu's accessibility names its items after their actions' text.
    action->setText(label);
    action->setDefaultWidget(row);
    row->onSelect = [this, preset] { apply(preset); };
    row->onDelete = [this, preset, action] {
        if (onDelete) {
            onDelete(preset);
        }
        removeRow(action);
    };
    m_menu->addAction(action);
}

void PresetMenuController::apply(const PresetEntry& preset) {
    m_menu->close();
    if (onApply) {
        onApply(preset);
    }
}

void PresetMenuController::removeRow(QWidgetAction* action) {
    if (!m_menu || !m_menu->actions().contains(action)) {
        return;
    }
    const bool hadFocus = action->defaultWidget() && action->defaultWidget()->hasFocus();
    const qsizetype index = m_menu->actions().indexOf(action);
    m_menu->removeAction(action);
    // The row is still inside its click handler.
    action->deleteLater();
    const QList<QAction*> left = m_menu->actions();
    if (left.isEmpty()) {
        addEmptyItem();
        return;
    }
    if (hadFocus) {
        // Keyboard deletion: the row that moved into its place becomes current.
        QAction* next = left.at(std::min(index, left.size() - 1));
        m_menu->setActiveAction(next);
        if (auto* rowAction = qobject_cast<QWidgetAction*>(next)) {
            rowAction->defaultWidget()->setFocus(Qt::TabFocusReason);
        }
    }
}

} // namespace vellumix
