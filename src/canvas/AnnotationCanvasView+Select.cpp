#include "AnnotationCanvasView.h"
#include "AnnotationRenderer.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>

namespace vellumix {

namespace {

// Freedesktop theme names first; the app's own icons where the theme has none.
QIcon menuIcon(const QString& name) {
    static const QHash<QString, QString> themeNames{
        {QStringLiteral("bring-to-front"), QStringLiteral("object-order-front")},
        {QStringLiteral("bring-forward"), QStringLiteral("object-order-raise")},
        {QStringLiteral("send-backward"), QStringLiteral("object-order-lower")},
        {QStringLiteral("send-to-back"), QStringLiteral("object-order-back")},
        {QStringLiteral("lock"), QStringLiteral("object-locked")},
        {QStringLiteral("unlock"), QStringLiteral("object-unlocked")},
        {QStringLiteral("bookmark"), QStringLiteral("bookmark-new")},
        {QStringLiteral("photo-add"), QStringLiteral("insert-image")},
    };
    const QIcon own(QStringLiteral(":/icons/menu/%1.svg").arg(name));
    const QString theme = themeNames.value(name);
    return theme.isEmpty() ? own : QIcon::fromTheme(theme, own);
}

// A short arrow drawn with the cap it stands for.
QIcon endCapIcon(ArrowEndCap cap, const QColor& color) {
    QPixmap pixmap(48, 18);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    ArrowAnnotation arrow;
    arrow.start = {6, 9};
    arrow.end = {42, 9};
    arrow.controlPoint = {24, 9};
    arrow.lineWidth = 2;
    arrow.endCap = cap;
    arrow.color = Color::fromQColor(color);
    // Caps are drawn at their real size relative to a 2-unit line, then fit the icon.
    painter.translate(24, 9);
    painter.scale(0.75, 0.75);
    painter.translate(-24, -9);
    render::drawArrow(painter, arrow);
    return QIcon(pixmap);
}

} // namespace

QMenu* AnnotationCanvasView::buildMenu(const std::vector<CanvasMenuItem>& items, QWidget* parent) {
    auto* menu = new QMenu(parent);
    menu->setToolTipsVisible(true);
    for (const CanvasMenuItem& item : items) {
        if (!item.submenu.empty()) {
            QMenu* sub = buildMenu(item.submenu, menu);
            sub->setTitle(item.title);
            sub->setIcon(menuIcon(item.icon));
            menu->addMenu(sub);
        } else {
            QAction* action = menu->addAction(item.title);
            if (item.action == CanvasMenuItem::Action::applyArrowEndCap) {
                action->setIcon(endCapIcon(static_cast<ArrowEndCap>(item.argument),
                                           palette().color(QPalette::WindowText)));
                action->setToolTip(item.toolTip);
                action->setIconVisibleInMenu(true);
            } else if (!item.icon.isEmpty()) {
                action->setIcon(menuIcon(item.icon));
            }
            action->setCheckable(item.checked);
            action->setChecked(item.checked);
            action->setEnabled(item.enabled);
            connect(action, &QAction::triggered, this,
                    [this, item] { m_document.triggerMenuItem(item); });
        }
        if (item.separatorAfter) {
            menu->addSeparator();
        }
    }
    return menu;
}

void AnnotationCanvasView::contextMenuEvent(QContextMenuEvent* event) {
    if (!m_document.showsAnnotations()) {
        return;
    }
    const auto items = m_document.contextMenu(toCanvas(event->pos()));
    delete m_lastMenu;
    m_lastMenu = buildMenu(items, this);
    m_lastMenu->popup(event->globalPos());
}

} // namespace vellumix
