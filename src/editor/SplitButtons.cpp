#include "SplitButtons.h"

#include <QAbstractSpinBox>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QShortcut>
#include <QStyle>
#include <QStyleOptionButton>

#include <algorithm>

namespace vellumix {

namespace {

constexpr int chevronWidth = SaveSplitButton::chevronWidth;
constexpr int iconTitleGap = 6;
constexpr int titleDividerGap = 8;
constexpr qreal chevronPoints = 9;

enum class SunkenPart { none, main, chevron, whole };

QStyleOptionButton faceOption(const QWidget* widget) {
    QStyleOptionButton option;
    option.initFrom(widget);
    option.features = QStyleOptionButton::None;
    if (widget->underMouse()) {
        option.state |= QStyle::State_MouseOver;
    }
    return option;
}

int iconExtent(const QWidget* widget, const QStyleOption& option) {
    return widget->style()->pixelMetric(QStyle::PM_ButtonIconSize, &option, widget);
}

QSize faceSizeHint(const QWidget* widget, const QIcon& icon, const QString& title) {
    QStyleOptionButton option = faceOption(widget);
    const QFontMetrics metrics = widget->fontMetrics();
    const int extent = iconExtent(widget, option);
    int width = metrics.horizontalAdvance(title) + titleDividerGap + chevronWidth;
    int height = metrics.height();
    if (!icon.isNull()) {
        width += extent + iconTitleGap;
        height = std::max(height, extent);
        option.icon = icon;
        option.iconSize = QSize(extent, extent);
    }
    option.text = title;
    option.rect = QRect(0, 0, width, height);
    return widget->style()->sizeFromContents(QStyle::CT_PushButton, &option, QSize(width, height),
                                             widget);
}

void drawTitle(QPainter& painter, const QWidget* widget, const QStyleOptionButton& option,
               const QRect& area, const QIcon& icon, const QString& title) {
    const int extent = icon.isNull() ? 0 : iconExtent(widget, option);
    const int iconPart = icon.isNull() ? 0 : extent + iconTitleGap;
    const QString shown = widget->fontMetrics().elidedText(title, Qt::ElideRight,
                                                           std::max(0, area.width() - iconPart));
    const int titleWidth = widget->fontMetrics().horizontalAdvance(shown);
    const int left = area.left() + std::max(0, (area.width() - iconPart - titleWidth) / 2);
    const bool enabled = option.state & QStyle::State_Enabled;
    if (!icon.isNull()) {
        const QPixmap pixmap = icon.pixmap(QSize(extent, extent), widget->devicePixelRatioF(),
                                           enabled ? QIcon::Normal : QIcon::Disabled);
        painter.drawPixmap(left, area.top() + (area.height() - extent) / 2, pixmap);
    }
    widget->style()->drawItemText(&painter,
                                  QRect(left + iconPart, area.top(), titleWidth, area.height()),
                                  Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                                  option.palette, enabled, shown, QPalette::ButtonText);
}

void drawChevron(QPainter& painter, const QWidget* widget, QPointF center, const QColor& color) {
    // The glyph of a 9-point chevron is about as wide as the point size and half as tall.
    const qreal size = chevronPoints * widget->logicalDpiY() / 72.0;
    const qreal halfWidth = size * 0.36;
    const qreal halfHeight = size * 0.18;
    QPainterPath path;
    path.moveTo(center.x() - halfWidth, center.y() - halfHeight);
    path.lineTo(center.x(), center.y() + halfHeight);
    path.lineTo(center.x() + halfWidth, center.y() - halfHeight);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(path);
    painter.restore();
}

// The style's push button, with the title on the left of a divider and a chevron on its right.
void paintFace(QWidget* widget, const QIcon& icon, const QString& title, SunkenPart sunken) {
    QPainter painter(widget);
    QStyle* style = widget->style();
    QStyleOptionButton option = faceOption(widget);
    option.rect = widget->rect();
    option.state |= QStyle::State_Raised;
    style->drawControl(QStyle::CE_PushButtonBevel, &option, &painter, widget);

    const int width = widget->width();
    const int height = widget->height();
    const QRect mainPart(0, 0, width - chevronWidth, height);
    const QRect chevronPart(width - chevronWidth, 0, chevronWidth, height);
    if (sunken != SunkenPart::none) {
        // The pressed side alone is drawn sunken, so the look says which part runs.
        QStyleOptionButton down = option;
        down.state &= ~QStyle::State_Raised;
        down.state |= QStyle::State_Sunken;
        painter.save();
        if (sunken == SunkenPart::main) {
            painter.setClipRect(mainPart);
        } else if (sunken == SunkenPart::chevron) {
            painter.setClipRect(chevronPart);
        }
        style->drawControl(QStyle::CE_PushButtonBevel, &down, &painter, widget);
        painter.restore();
    }
    if (option.state & QStyle::State_HasFocus) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(option);
        focus.rect = style->subElementRect(QStyle::SE_PushButtonFocusRect, &option, widget);
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, widget);
    }

    const QPoint shift(style->pixelMetric(QStyle::PM_ButtonShiftHorizontal, &option, widget),
                       style->pixelMetric(QStyle::PM_ButtonShiftVertical, &option, widget));
    const int dividerX = width - chevronWidth - 1;
    const QRect contents = style->subElementRect(QStyle::SE_PushButtonContents, &option, widget);
    QRect titleArea(contents.left(), contents.top(), dividerX - contents.left(), contents.height());
    if (sunken == SunkenPart::main || sunken == SunkenPart::whole) {
        titleArea.translate(shift);
    }
    drawTitle(painter, widget, option, titleArea, icon, title);

    const QColor ink = option.palette.color(QPalette::ButtonText);
    QColor line = ink;
    line.setAlphaF(0.3f);
    const int inset = std::max(4, height / 4);
    painter.setPen(line);
    painter.drawLine(dividerX, inset, dividerX, height - 1 - inset);

    QPointF chevronCenter = QRectF(chevronPart).center();
    if (sunken == SunkenPart::chevron || sunken == SunkenPart::whole) {
        chevronCenter += shift;
    }
    drawChevron(painter, widget, chevronCenter, ink);
}

// Whether the pressed look should last until the release. A callback that opened a menu or a
// dialog has taken the release away from the button, so the look ends with the callback then.
bool pressLookOutlivesCallback(const QWidget* widget) {
    if (!(QGuiApplication::mouseButtons() & Qt::LeftButton) || QApplication::activePopupWidget()) {
        return false;
    }
    const QWidget* modal = QApplication::activeModalWidget();
    return !modal || modal == widget->window();
}

// A line edit submits on Return (the assistant's prompt field) without claiming the key before
// shortcuts are matched, so a window shortcut would take it away; spin boxes and editable combo
// boxes hold line edits. Text editors claim Return themselves (ShortcutOverride).
bool keepsReturnForItself(const QWidget* focusWidget) {
    if (!focusWidget) {
        return false;
    }
    if (qobject_cast<const QLineEdit*>(focusWidget) ||
        qobject_cast<const QAbstractSpinBox*>(focusWidget)) {
        return true;
    }
    const auto* combo = qobject_cast<const QComboBox*>(focusWidget);
    return combo && combo->isEditable();
}

// Return and Enter whatever modifiers are held: Shift+Return and Ctrl+Return save too.
QList<QKeySequence> returnWithAnyModifiers() {
    const Qt::KeyboardModifier modifiers[] = {Qt::ShiftModifier, Qt::ControlModifier,
                                              Qt::AltModifier, Qt::MetaModifier};
    QList<QKeySequence> keys;
    for (Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        for (int set = 0; set < 16; ++set) {
            Qt::KeyboardModifiers held;
            for (int bit = 0; bit < 4; ++bit) {
                if (set & (1 << bit)) {
                    held |= modifiers[bit];
                }
            }
            keys.append(QKeySequence(QKeyCombination(held, key)));
        }
    }
    return keys;
}

bool isPlainKey(const QKeyEvent* event, Qt::KeyboardModifiers allowed = Qt::NoModifier) {
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    return modifiers == Qt::NoModifier || modifiers == allowed;
}

// The keys a focused button answers: Space presses it, Alt+Down or F4 opens its menu.
enum class ButtonKey { none, press, menu };

ButtonKey buttonKey(const QKeyEvent* event) {
    if (event->key() == Qt::Key_Space && isPlainKey(event)) {
        return ButtonKey::press;
    }
    if ((event->key() == Qt::Key_Down && isPlainKey(event, Qt::AltModifier)) ||
        (event->key() == Qt::Key_F4 && isPlainKey(event))) {
        return ButtonKey::menu;
    }
    return ButtonKey::none;
}

template <typename Callback> void runCallback(const Callback& callback) {
    // A copy: the callback may replace itself or close the window that owns the button.
    const Callback copy = callback;
    if (copy) {
        copy();
    }
}

void announceNameChange(QWidget* widget) {
    if (QAccessible::isActive()) {
        QAccessibleEvent event(widget, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&event);
    }
}

// Both buttons are named by their title. The split button is a button with a menu (as Qt
// exposes a tool button with a menu part), so screen readers offer both of its actions.
class FaceButtonAccessible final : public QAccessibleWidget {
public:
    explicit FaceButtonAccessible(QWidget* widget)
        : QAccessibleWidget(widget, qobject_cast<SaveSplitButton*>(widget) ? QAccessible::ButtonMenu
                                                                           : QAccessible::Button) {}

    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name && widget()->accessibleName().isEmpty()) {
            return title();
        }
        if (kind == QAccessible::Description && widget()->accessibleDescription().isEmpty() &&
            splitButton()) {
            return QApplication::translate("SaveSplitButton",
                                           "Saves with the chosen option; its arrow opens the "
                                           "menu of save options.");
        }
        return QAccessibleWidget::text(kind);
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = splitButton() != nullptr;
        return state;
    }

    QStringList actionNames() const override {
        QStringList names{pressAction()};
        if (splitButton()) {
            names << showMenuAction();
        }
        return names + QAccessibleWidget::actionNames();
    }

    void doAction(const QString& action) override {
        if (!widget()->isEnabled()) {
            return;
        }
        if (SaveSplitButton* split = splitButton()) {
            if (action == pressAction()) {
                runCallback(split->onMainClick);
                return;
            }
            if (action == showMenuAction()) {
                runCallback(split->onChevronClick);
                return;
            }
        } else if (auto* provider = qobject_cast<AIProviderButton*>(widget());
                   provider && action == pressAction()) {
            runCallback(provider->onClick);
            return;
        }
        QAccessibleWidget::doAction(action);
    }

private:
    SaveSplitButton* splitButton() const { return qobject_cast<SaveSplitButton*>(widget()); }
    QString title() const {
        if (SaveSplitButton* split = splitButton()) {
            return split->title();
        }
        auto* provider = qobject_cast<AIProviderButton*>(widget());
        return provider ? provider->title() : QString();
    }
};

QAccessibleInterface* faceButtonAccessible(const QString& className, QObject* object) {
    if (className == QLatin1String(SaveSplitButton::staticMetaObject.className()) ||
        className == QLatin1String(AIProviderButton::staticMetaObject.className())) {
        return new FaceButtonAccessible(static_cast<QWidget*>(object));
    }
    return nullptr;
}

void prepareFaceButton(QWidget* widget) {
    static const bool installed = [] {
        QAccessible::installFactory(faceButtonAccessible);
        return true;
    }();
    (void)installed;
    // Tab reaches it, but a click leaves the keyboard focus where it was (the canvas).
    widget->setFocusPolicy(Qt::TabFocus);
    widget->setAttribute(Qt::WA_Hover);
    widget->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
}

bool isLookChange(QEvent::Type type) {
    return type == QEvent::HoverEnter || type == QEvent::HoverLeave || type == QEvent::Enter ||
           type == QEvent::Leave;
}

bool endsPress(QEvent::Type type) {
    return type == QEvent::Hide || type == QEvent::WindowBlocked || type == QEvent::EnabledChange;
}

bool changesGeometry(QEvent::Type type) {
    return type == QEvent::FontChange || type == QEvent::StyleChange;
}

} // namespace

// --- SaveSplitButton ---

SaveSplitButton::SaveSplitButton(QWidget* parent) : QWidget(parent) {
    prepareFaceButton(this);
    m_returnShortcut = new QShortcut(this);
    m_returnShortcut->setKeys(returnWithAnyModifiers());
    m_returnShortcut->setContext(Qt::WindowShortcut);
    m_returnShortcut->setAutoRepeat(false);
    connect(m_returnShortcut, &QShortcut::activated, this, [this] { press(Part::main, false); });
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget*, QWidget* now) { followFocus(now); });
    followFocus(QApplication::focusWidget());
}

void SaveSplitButton::setIcon(const QIcon& icon) {
    m_icon = icon;
    updateGeometry();
    update();
}

void SaveSplitButton::setTitle(const QString& title) {
    if (title == m_title) {
        return;
    }
    m_title = title;
    updateGeometry();
    update();
    announceNameChange(this);
}

QSize SaveSplitButton::sizeHint() const {
    return faceSizeHint(this, m_icon, m_title);
}

QSize SaveSplitButton::minimumSizeHint() const {
    return sizeHint();
}

QRect SaveSplitButton::chevronRect() const {
    return QRect(width() - chevronWidth, 0, chevronWidth, height());
}

bool SaveSplitButton::event(QEvent* event) {
    if (isLookChange(event->type())) {
        update();
    } else if (endsPress(event->type())) {
        releasePressedLook();
    } else if (changesGeometry(event->type())) {
        updateGeometry();
    }
    return QWidget::event(event);
}

void SaveSplitButton::paintEvent(QPaintEvent*) {
    SunkenPart sunken = SunkenPart::none;
    if (m_pressed == Part::main) {
        sunken = SunkenPart::main;
    } else if (m_pressed == Part::chevron) {
        sunken = SunkenPart::chevron;
    }
    paintFace(this, m_icon, m_title, sunken);
}

void SaveSplitButton::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    press(event->position().x() >= width() - chevronWidth ? Part::chevron : Part::main, true);
}

void SaveSplitButton::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        releasePressedLook();
    }
    QWidget::mouseReleaseEvent(event);
}

void SaveSplitButton::keyPressEvent(QKeyEvent* event) {
    const ButtonKey key = buttonKey(event);
    if (key == ButtonKey::none) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (!event->isAutoRepeat()) {
        press(key == ButtonKey::press ? Part::main : Part::chevron, false);
    }
}

void SaveSplitButton::press(Part part, bool fromMouse) {
    if (fromMouse) {
        m_pressed = part;
        repaint(); // the callback may run long (a save) before the next paint
    }
    QPointer<SaveSplitButton> alive(this);
    runCallback(part == Part::chevron ? onChevronClick : onMainClick);
    if (alive && fromMouse && !pressLookOutlivesCallback(this)) {
        releasePressedLook();
    }
}

void SaveSplitButton::releasePressedLook() {
    if (m_pressed != Part::none) {
        m_pressed = Part::none;
        update();
    }
}

void SaveSplitButton::followFocus(QWidget* focusWidget) {
    m_returnShortcut->setEnabled(!keepsReturnForItself(focusWidget));
}

// --- AIProviderButton ---

AIProviderButton::AIProviderButton(QWidget* parent) : QWidget(parent) {
    prepareFaceButton(this);
}

void AIProviderButton::setTitle(const QString& title) {
    if (title == m_title) {
        return;
    }
    m_title = title;
    updateGeometry();
    update();
    announceNameChange(this);
}

QSize AIProviderButton::sizeHint() const {
    return faceSizeHint(this, QIcon(), m_title);
}

QSize AIProviderButton::minimumSizeHint() const {
    return sizeHint();
}

bool AIProviderButton::event(QEvent* event) {
    if (isLookChange(event->type())) {
        update();
    } else if (endsPress(event->type()) && m_pressed) {
        m_pressed = false;
        update();
    } else if (changesGeometry(event->type())) {
        updateGeometry();
    }
    return QWidget::event(event);
}

void AIProviderButton::paintEvent(QPaintEvent*) {
    paintFace(this, QIcon(), m_title, m_pressed ? SunkenPart::whole : SunkenPart::none);
}

void AIProviderButton::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    press(true);
}

void AIProviderButton::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && m_pressed) {
        m_pressed = false;
        update();
    }
    QWidget::mouseReleaseEvent(event);
}

void AIProviderButton::keyPressEvent(QKeyEvent* event) {
    if (buttonKey(event) == ButtonKey::none) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (!event->isAutoRepeat()) {
        press(false);
    }
}

void AIProviderButton::press(bool fromMouse) {
    if (fromMouse) {
        m_pressed = true;
        repaint();
    }
    QPointer<AIProviderButton> alive(this);
    runCallback(onClick);
    if (alive && fromMouse && !pressLookOutlivesCallback(this) && m_pressed) {
        m_pressed = false;
        update();
    }
}

} // namespace vellumix
