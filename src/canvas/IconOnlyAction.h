#pragma once

#include <QAction>

namespace vellumix {

/// A menu item shown by its icon alone (the arrow end caps). Qt names menu items after their
/// text, which is empty here, so the item brings its own accessibility: screen readers announce
/// its label, which is also its tool tip.
class IconOnlyAction final : public QAction {
    Q_OBJECT

public:
    IconOnlyAction(const QIcon& icon, const QString& label, QObject* parent);

    QString label() const { return toolTip(); }
};

} // namespace vellumix
