#include "AnnotationCanvasView.h"
#include "AnnotationRenderer.h"
#include "IconOnlyAction.h"
#include "StyleSwatch.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>
#include <QProxyStyle>

#include <algorithm>

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

// Menu icons sit in a square; wide pictures (caps, swatches) need a larger one than the
// style's small icon size to stay legible.
constexpr int capIconSide = 32;
// The square must hold the widest preview (the text tool's) without scaling it down.
constexpr int swatchIconSide = int(render::swatchLayout::textWidth);

class MenuIconSize final : public QProxyStyle {
public:
    explicit MenuIconSize(int side) : m_side(side) {}
    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override {
        if (metric == PM_SmallIconSize) {
            return m_side;
        }
        return QProxyStyle::pixelMetric(metric, option, widget);
    }

private:
    int m_side;
};

// A short arrow drawn with the cap it stands for, on a thin line so both caps fit.
QIcon endCapIcon(ArrowEndCap cap, const QColor& color) {
    QIcon icon;
    for (qreal ratio : {1.0, 2.0}) {
        QPixmap pixmap(QSize(capIconSide, capIconSide) * ratio);
        pixmap.setDevicePixelRatio(ratio);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const double middle = capIconSide / 2.0;
        ArrowAnnotation arrow;
        arrow.start = {5, middle};
        arrow.end = {capIconSide - 5.0, middle};
        arrow.controlPoint = {middle, middle};
        arrow.lineWidth = 1.5;
        arrow.endCap = cap;
        arrow.color = Color::fromQColor(color);
        render::drawArrow(painter, arrow);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

// The preset's style as the preset menu's preview, 14 high, sharp at the usual pixel ratios.
// Placeholders take the menu's secondary text colour.
QIcon swatchIcon(const AnnotationStyle& style, Tool tool) {
    const QColor secondary = QApplication::palette("QMenu").color(QPalette::PlaceholderText);
    QIcon icon;
    for (qreal ratio : {1.0, 1.25, 1.5, 2.0}) {
        icon.addPixmap(QPixmap::fromImage(render::styleSwatch(style, tool, secondary, ratio)));
    }
    return icon;
}

// Gives a submenu of pictures an icon column wide enough for them.
void fitIconColumn(QMenu* menu, const std::vector<CanvasMenuItem>& items) {
    const bool caps = std::any_of(items.begin(), items.end(), [](const CanvasMenuItem& item) {
        return item.action == CanvasMenuItem::Action::applyArrowEndCap;
    });
    const bool swatches = std::any_of(items.begin(), items.end(),
                                      [](const CanvasMenuItem& item) { return item.swatchStyle; });
    if (caps || swatches) {
        auto* style = new MenuIconSize(caps ? capIconSide : swatchIconSide);
        style->setParent(menu);
        menu->setStyle(style);
    }
}

} // namespace

QMenu* AnnotationCanvasView::buildMenu(const std::vector<CanvasMenuItem>& items, QWidget* parent) {
    auto* menu = new QMenu(parent);
    menu->setToolTipsVisible(true);
    fitIconColumn(menu, items);
    for (const CanvasMenuItem& item : items) {
        if (!item.submenu.empty()) {
            QMenu* sub = buildMenu(item.submenu, menu);
            sub->setTitle(item.title);
            sub->setIcon(menuIcon(item.icon));
            menu->addMenu(sub);
        } else {
            QAction* action = nullptr;
            if (item.action == CanvasMenuItem::Action::applyArrowEndCap) {
                action = new IconOnlyAction(endCapIcon(static_cast<ArrowEndCap>(item.argument),
                                                       palette().color(QPalette::WindowText)),
                                            item.toolTip, menu);
                menu->addAction(action);
            } else {
                action = menu->addAction(item.title);
            }
            if (item.swatchStyle) {
                action->setIcon(swatchIcon(*item.swatchStyle, item.swatchTool));
            } else if (!item.icon.isEmpty() && action->icon().isNull()) {
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
