#include "app/AccessibleRoles.h"

#include <QAccessibleWidget>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QWidget>

#include <utility>

namespace vellumix {

namespace {

// The recorder: a button whose press starts recording, as a click on it does.
class RecorderAccessible final : public QAccessibleWidget {
public:
    explicit RecorderAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::Button) {}

    QStringList actionNames() const override {
        return QStringList{pressAction()} + QAccessibleWidget::actionNames();
    }
    void doAction(const QString& name) override {
        if (name != pressAction()) {
            QAccessibleWidget::doAction(name);
            return;
        }
        const QPointF centre = QRectF(widget()->rect()).center();
        QMouseEvent press(QEvent::MouseButtonPress, centre, widget()->mapToGlobal(centre),
                          Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(widget(), &press);
    }
};

class SwatchGridAccessible final : public QAccessibleWidget {
public:
    explicit SwatchGridAccessible(QWidget* widget)
        : QAccessibleWidget(widget, QAccessible::Table) {}

    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Description) {
            return QStringLiteral("Arrow keys move between the colours; Space chooses one");
        }
        return QAccessibleWidget::text(kind);
    }
};

QAccessibleInterface* roleFor(const QString& className, QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    if (!widget) {
        return nullptr;
    }
    if (className == QLatin1String("vellumix::ShortcutRecorderView")) {
        return new RecorderAccessible(widget);
    }
    // The colour panel's swatch grids (Qt's own colour dialog) are plain widgets to Qt.
    if (className == QLatin1String("QWellArray")) {
        return new SwatchGridAccessible(widget);
    }
    static const std::pair<const char*, QAccessible::Role> roles[] = {
        {"vellumix::HomeWindow", QAccessible::Window},
        {"vellumix::EditorWindowController", QAccessible::Window},
        {"vellumix::SettingsWindowController", QAccessible::Window},
        {"vellumix::CaptureView", QAccessible::Window},
        {"vellumix::AnnotationCanvasView", QAccessible::Canvas},
        {"vellumix::CenteringClipView", QAccessible::Pane},
    };
    for (const auto& [name, role] : roles) {
        if (className == QLatin1String(name)) {
            return new QAccessibleWidget(widget, role);
        }
    }
    return nullptr;
}

} // namespace

void installAccessibleRoles() {
    QAccessible::installFactory(&roleFor);
}

} // namespace vellumix
