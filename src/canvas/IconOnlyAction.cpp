#include "IconOnlyAction.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QMenu>
#include <QPointer>

namespace vellumix {

namespace {

// A menu item's accessibility, as Qt's own for menus, but named by the label.
class IconOnlyItemAccessible final : public QAccessibleInterface,
                                     public QAccessibleActionInterface {
public:
    explicit IconOnlyItemAccessible(IconOnlyAction* action) : m_action(action) {}

    bool isValid() const override { return m_action && menu(); }
    QObject* object() const override { return m_action; }
    QWindow* window() const override {
        QMenu* owner = menu();
        return owner ? owner->windowHandle() : nullptr;
    }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(menu());
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QString text(QAccessible::Text t) const override {
        if (!m_action) {
            return {};
        }
        switch (t) {
        case QAccessible::Name:
        case QAccessible::Description:
            return m_action->label();
        default:
            return {};
        }
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override {
        QMenu* owner = menu();
        if (!owner) {
            return {};
        }
        return owner->actionGeometry(m_action).translated(owner->mapToGlobal(QPoint(0, 0)));
    }
    QAccessible::Role role() const override { return QAccessible::MenuItem; }
    QAccessible::State state() const override {
        QAccessible::State s;
        QMenu* owner = menu();
        s.invisible = !owner || !owner->isVisible() || !m_action->isVisible();
        s.focused = owner && owner->activeAction() == m_action;
        s.disabled = !m_action->isEnabled();
        s.checkable = m_action->isCheckable();
        s.checked = m_action->isChecked();
        return s;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }

    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override {
        if (m_action && m_action->isEnabled() && name == pressAction()) {
            m_action->trigger();
        }
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QMenu* menu() const {
        if (!m_action) {
            return nullptr;
        }
        for (QObject* owner : m_action->associatedObjects()) {
            if (auto* menu = qobject_cast<QMenu*>(owner)) {
                return menu;
            }
        }
        return nullptr;
    }

    QPointer<IconOnlyAction> m_action;
};

QAccessibleInterface* iconOnlyAccessible(const QString& className, QObject* object) {
    if (className == QLatin1String(IconOnlyAction::staticMetaObject.className())) {
        return new IconOnlyItemAccessible(static_cast<IconOnlyAction*>(object));
    }
    return nullptr;
}

} // namespace

IconOnlyAction::IconOnlyAction(const QIcon& icon, const QString& label, QObject* parent)
    : QAction(icon, QString(), parent) {
    static const bool installed = [] {
        QAccessible::installFactory(iconOnlyAccessible);
        return true;
    }();
    (void)installed;
    setToolTip(label);
    setIconVisibleInMenu(true);
}

} // namespace vellumix
