#include "ColorWell.h"

#include <QAbstractButton>
#include <QColorDialog>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QHideEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace vellumix {

namespace {

constexpr int checkerSquare = 5;
constexpr int clearButtonWidth = 14;

QColor blended(const QColor& from, const QColor& to, qreal amount) {
    return QColor::fromRgbF(from.redF() + (to.redF() - from.redF()) * amount,
                            from.greenF() + (to.greenF() - from.greenF()) * amount,
                            from.blueF() + (to.blueF() - from.blueF()) * amount);
}

QString colorDescription(const Color& color) {
    if (color.isClear()) {
        return QStringLiteral("None");
    }
    const QString name = color.opaque().toQColor().name();
    if (color.alpha >= 1) {
        return name;
    }
    return QStringLiteral("%1 at %2% opacity").arg(name).arg(std::lround(color.alpha * 100));
}

// The swatch: the colour inside a 1-px frame in the palette's mid colour, which reads on light
// and dark palettes alike; the highlight colour takes the frame while the panel follows it.
class WellSwatch final : public QAbstractButton {
public:
    explicit WellSwatch(QWidget* parent) : QAbstractButton(parent) {
        setFixedSize(ColorWell::swatchSize, ColorWell::swatchSize);
        // Tab reaches it; a click leaves the keyboard focus on the canvas.
        setFocusPolicy(Qt::TabFocus);
        setAttribute(Qt::WA_Hover);
    }

    void setSwatchColor(const Color& color) {
        m_color = color;
        setAccessibleDescription(colorDescription(color));
        update();
    }
    void setFollowed(bool followed) {
        if (followed != m_followed) {
            m_followed = followed;
            update();
        }
    }
    QSize sizeHint() const override { return {ColorWell::swatchSize, ColorWell::swatchSize}; }

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverLeave) {
            update();
        }
        return QAbstractButton::event(event);
    }

    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const QPalette& colors = palette();
        const QRect interior = rect().adjusted(1, 1, -1, -1);
        if (m_color.isClear()) {
            paintNoColor(painter, interior);
        } else {
            if (m_color.alpha < 1) {
                paintCheckerboard(painter, interior);
            }
            painter.fillRect(interior, m_color.toQColor());
        }
        if (isDown()) {
            painter.fillRect(interior, QColor(0, 0, 0, 40));
        }
        if (!isEnabled()) {
            QColor veil = colors.color(QPalette::Window);
            veil.setAlphaF(0.55f);
            painter.fillRect(interior, veil);
        }
        paintFrame(painter, colors);
    }

private:
    void paintNoColor(QPainter& painter, const QRect& interior) const {
        painter.fillRect(interior, palette().color(QPalette::Base));
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setClipRect(interior);
        painter.setPen(QPen(SystemColors::red.toQColor(), 1.5));
        const QRectF area(interior);
        painter.drawLine(area.bottomLeft(), area.topRight());
        painter.restore();
    }

    static void paintCheckerboard(QPainter& painter, const QRect& interior) {
        painter.fillRect(interior, Qt::white);
        painter.save();
        painter.setClipRect(interior);
        const QColor dark(0xcc, 0xcc, 0xcc);
        for (int y = interior.top(); y <= interior.bottom(); y += checkerSquare) {
            for (int x = interior.left(); x <= interior.right(); x += checkerSquare) {
                const bool odd =
                    ((x - interior.left()) / checkerSquare + (y - interior.top()) / checkerSquare) %
                        2 !=
                    0;
                if (odd) {
                    painter.fillRect(QRect(x, y, checkerSquare, checkerSquare), dark);
                }
            }
        }
        painter.restore();
    }

    void paintFrame(QPainter& painter, const QPalette& colors) const {
        const QRect outline = rect().adjusted(0, 0, -1, -1);
        painter.setBrush(Qt::NoBrush);
        if (m_followed || (hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange))) {
            painter.setPen(colors.color(QPalette::Highlight));
            painter.drawRect(outline);
            painter.drawRect(outline.adjusted(1, 1, -1, -1));
            return;
        }
        QColor frame = colors.color(QPalette::Mid);
        if (underMouse() && isEnabled()) {
            frame = blended(frame, colors.color(QPalette::WindowText), 0.35);
        }
        painter.setPen(frame);
        painter.drawRect(outline);
    }

    Color m_color = Color::clear();
    bool m_followed = false;
};

// A small "×" beside the swatch; a rounded plate shows under it on hover and press.
class WellClearButton final : public QAbstractButton {
public:
    explicit WellClearButton(QWidget* parent) : QAbstractButton(parent) {
        setFixedSize(clearButtonWidth, ColorWell::swatchSize);
        setFocusPolicy(Qt::TabFocus);
        setAttribute(Qt::WA_Hover);
    }
    QSize sizeHint() const override { return {clearButtonWidth, ColorWell::swatchSize}; }

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverLeave) {
            update();
        }
        return QAbstractButton::event(event);
    }

    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QPalette& colors = palette();
        QColor ink = colors.color(QPalette::ButtonText);
        const bool hot = isEnabled() && (isDown() || underMouse());
        if (hot || (hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange))) {
            QColor plate = ink;
            plate.setAlphaF(isDown() ? 0.22f : 0.12f);
            painter.setPen(Qt::NoPen);
            painter.setBrush(plate);
            painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 3.5, -0.5, -3.5), 5, 5);
        }
        ink.setAlphaF(isEnabled() ? 0.8f : 0.35f);
        painter.setPen(QPen(ink, 1.5, Qt::SolidLine, Qt::RoundCap));
        const QPointF center = QRectF(rect()).center();
        const qreal arm = 3;
        painter.drawLine(center + QPointF(-arm, -arm), center + QPointF(arm, arm));
        painter.drawLine(center + QPointF(-arm, arm), center + QPointF(arm, -arm));
    }
};

QString clearButtonName(const QString& toolTip) {
    if (toolTip.isEmpty()) {
        return QStringLiteral("Clear color");
    }
    return QStringLiteral("Clear %1").arg(toolTip.left(1).toLower() + toolTip.mid(1));
}

double unitComponent(double value) {
    return std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0.0;
}

} // namespace

// --- ColorWell ---

ColorWell::ColorWell(const QString& toolTip, bool clearable, QWidget* parent) : QWidget(parent) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(1);

    auto* swatch = new WellSwatch(this);
    swatch->setToolTip(toolTip);
    swatch->setAccessibleName(toolTip);
    swatch->setSwatchColor(m_color);
    connect(swatch, &QAbstractButton::clicked, this,
            [this] { SharedColorPanel::instance().showFor(this); });
    layout->addWidget(swatch);
    m_swatch = swatch;

    if (clearable) {
        auto* clear = new WellClearButton(this);
        const QString name = clearButtonName(toolTip);
        clear->setToolTip(name);
        clear->setAccessibleName(name);
        connect(clear, &QAbstractButton::clicked, this, [this] {
            setColor(Color::clear());
            const auto callback = onClear;
            if (callback) {
                callback();
            }
        });
        layout->addWidget(clear);
        m_clear = clear;
    }
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

ColorWell::~ColorWell() {
    closePanelIfFollowing();
}

void ColorWell::setColor(const Color& color) {
    m_color = color;
    static_cast<WellSwatch*>(m_swatch)->setSwatchColor(color);
    SharedColorPanel& panel = SharedColorPanel::instance();
    // A cleared well leaves the panel on its last colour, the natural start for the next pick.
    if (panel.target() == this && !color.isClear()) {
        panel.showColor(color);
    }
}

QWidget* ColorWell::swatchButton() const {
    return m_swatch;
}

QWidget* ColorWell::clearButton() const {
    return m_clear;
}

void ColorWell::changeEvent(QEvent* event) {
    if (event->type() == QEvent::EnabledChange && !isEnabled()) {
        closePanelIfFollowing();
    }
    QWidget::changeEvent(event);
}

void ColorWell::hideEvent(QHideEvent* event) {
    // Its window closed or its bar was swapped out; a minimised window keeps the panel.
    if (!event->spontaneous()) {
        closePanelIfFollowing();
    }
    QWidget::hideEvent(event);
}

void ColorWell::takePanelColor(const Color& color) {
    m_color = color;
    static_cast<WellSwatch*>(m_swatch)->setSwatchColor(color);
    const auto callback = onColorChanged;
    if (callback) {
        callback(color);
    }
}

void ColorWell::panelFollowingChanged() {
    static_cast<WellSwatch*>(m_swatch)->setFollowed(SharedColorPanel::instance().target() == this);
}

void ColorWell::closePanelIfFollowing() {
    SharedColorPanel& panel = SharedColorPanel::instance();
    if (panel.target() == this) {
        panel.close();
    }
}

// --- SharedColorPanel ---

SharedColorPanel& SharedColorPanel::instance() {
    static SharedColorPanel panel;
    return panel;
}

QColorDialog* SharedColorPanel::dialog() {
    if (!m_dialog) {
        // Widget-based on purpose: platform dialogs report a colour only when they close, and
        // the canvas follows every change while the user drags.
        auto* colorDialog = new QColorDialog();
        colorDialog->setOptions(QColorDialog::ShowAlphaChannel | QColorDialog::NoButtons |
                                QColorDialog::DontUseNativeDialog);
        colorDialog->setWindowTitle(tr("Colors"));
        colorDialog->setModal(false);
        connect(colorDialog, &QColorDialog::currentColorChanged, this,
                &SharedColorPanel::takeDialogColor);
        connect(colorDialog, &QDialog::finished, this, [this] { setTarget(nullptr); });
        m_dialog = colorDialog;
        // A top-level widget must go before the application does; post routines run first
        // thing in QApplication's destructor.
        qAddPostRoutine(&SharedColorPanel::destroyDialog);
    }
    return m_dialog;
}

void SharedColorPanel::destroyDialog() {
    delete instance().m_dialog.data();
}

void SharedColorPanel::showFor(ColorWell* well) {
    if (!well) {
        return;
    }
    QColorDialog* colorDialog = dialog();
    setTarget(well);
    showColor(well->color());
    // Kept above the well's window, but never owned by it: the panel outlives any one editor.
    colorDialog->winId();
    QWindow* panelWindow = colorDialog->windowHandle();
    QWindow* wellWindow = well->window()->windowHandle();
    if (panelWindow && wellWindow) {
        panelWindow->setTransientParent(wellWindow);
    }
    colorDialog->show();
    colorDialog->raise();
}

void SharedColorPanel::close() {
    setTarget(nullptr);
    if (m_dialog && m_dialog->isVisible()) {
        m_dialog->hide();
    }
}

bool SharedColorPanel::isVisible() const {
    return m_dialog && m_dialog->isVisible();
}

void SharedColorPanel::showColor(const Color& color) {
    if (!m_dialog) {
        return;
    }
    // A clear colour is shown opaque; otherwise the first pick would be invisible too.
    const Color shown = color.isClear() ? Color::rgb(color.red, color.green, color.blue) : color;
    const QColor wanted = shown.toQColor();
    // The dialog holds 8-bit channels; re-setting the colour it already shows would move its
    // hue and saturation marks (a grey has no hue) under the user's pointer.
    if (m_dialog->currentColor().rgba() == wanted.rgba()) {
        return;
    }
    const QSignalBlocker blocker(m_dialog.data());
    m_dialog->setCurrentColor(wanted);
}

Color SharedColorPanel::srgbColor(const QColor& color) {
    if (!color.isValid()) {
        return Color::clear();
    }
    // Extended RGB keeps its components beyond 0...1 in the F accessors; other specs
    // (HSV, HSL, CMYK) lie inside sRGB and convert exactly.
    const QColor rgb = color.spec() == QColor::ExtendedRgb ? color : color.toRgb();
    return Color::rgb(unitComponent(rgb.redF()), unitComponent(rgb.greenF()),
                      unitComponent(rgb.blueF()), unitComponent(rgb.alphaF()));
}

void SharedColorPanel::setTarget(ColorWell* well) {
    QPointer<ColorWell> previous = m_target;
    m_target = well;
    if (previous && previous != well) {
        previous->panelFollowingChanged();
    }
    if (well) {
        well->panelFollowingChanged();
    }
}

void SharedColorPanel::takeDialogColor(const QColor& color) {
    const Color picked = srgbColor(color);
    const auto hook = redirect;
    if (hook && hook(picked)) {
        return;
    }
    if (ColorWell* well = m_target) {
        well->takePanelColor(picked);
    }
}

} // namespace vellumix
