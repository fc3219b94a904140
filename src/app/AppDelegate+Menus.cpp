#include "AppDelegate.h"
#include "DocumentOpener.h"
#include "HistoryMenuItemView.h"
#include "library/HistoryStore.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPixmap>
#include <QWidgetAction>

namespace vellumix {

namespace {

// The disabled header: "Vellumix", its first half black weight, its second light, dimmed.
QWidgetAction* headerItem(QMenu* menu) {
    auto* label = new QLabel;
    const QString name = statusmenu::productName;
    const int half = int(name.size()) / 2;
    label->setText(QStringLiteral("<span style='font-weight:900'>%1</span>"
                                  "<span style='font-weight:300'>%2</span>")
                       .arg(name.left(half), name.mid(half)));
    label->setAccessibleName(name);
    QFont font = label->font();
    font.setPixelSize(13);
    label->setFont(font);
    QPalette colors = label->palette();
    QColor text = colors.color(QPalette::WindowText);
    text.setAlphaF(0.5f);
    colors.setColor(QPalette::WindowText, text);
    label->setPalette(colors);
    auto* holder = new QWidget;
    holder->setFixedSize(180, 30);
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(14, 0, 0, 0);
    row->addWidget(label);
    auto* action = new QWidgetAction(menu);
    action->setDefaultWidget(holder);
    action->setText(name);
    action->setEnabled(false);
    return action;
}

// Menu texts are shown as given: an "&" in a bundle's name is no mnemonic.
QString literal(const QString& text) {
    QString escaped = text;
    return escaped.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

// What the exported History submenu shows, to tell whether it needs rebuilding.
QStringList signatureOf(const std::vector<HistoryStore::Entry>& entries) {
    QStringList signature;
    for (const HistoryStore::Entry& entry : entries) {
        // A closing save rewrites the annotations and the thumbnail, and so moves the date.
        signature << entry.bundlePath << entry.date.toString(Qt::ISODateWithMs);
    }
    return signature;
}

// Submenus made by QMenu::addMenu belong to the menu as children, and clear() leaves them.
void clearMenu(QMenu* menu) {
    menu->clear();
    for (QMenu* submenu : menu->findChildren<QMenu*>(Qt::FindDirectChildrenOnly)) {
        delete submenu;
    }
}

} // namespace

void AppDelegate::buildMenu(QMenu* menu, const std::vector<MenuItem>& items, MenuFlavor flavor) {
    for (const MenuItem& item : items) {
        switch (item.kind) {
        case MenuItem::Kind::header:
            menu->addAction(headerItem(menu));
            break;
        case MenuItem::Kind::separator:
            menu->addSeparator();
            break;
        case MenuItem::Kind::command:
            addCommand(menu, item, flavor);
            break;
        case MenuItem::Kind::historyRow:
            addHistoryRow(menu, item);
            break;
        case MenuItem::Kind::submenu: {
            QMenu* submenu = menu->addMenu(literal(item.text));
            if (!item.iconName.isEmpty()) {
                m_pendingIcons.emplace_back(submenu->menuAction(), item.iconName);
            }
            if (!item.thumbnail.isNull()) {
                submenu->setIcon(QIcon(QPixmap::fromImage(item.thumbnail)));
            }
            if (item.isHistory && flavor == MenuFlavor::drawnByApp) {
                m_historyMenu = submenu;
            } else if (item.isHistory) {
                // A desktop may ask for the submenu alone, without opening the whole menu.
                m_exportedHistory = submenu;
                connect(submenu, &QMenu::aboutToShow, this, &AppDelegate::refreshExportedHistory);
            }
            buildMenu(submenu, item.children, flavor);
            break;
        }
        }
    }
    if (menu != m_statusMenu.get() && menu != m_exportedMenu.get()) {
        return;
    }
    // Icons and the settings item's state when the menu opens; the history is read afresh.
    connect(menu, &QMenu::aboutToShow, this, [this, flavor] {
        applyPendingIcons();
        for (QAction* settings : m_settingsItems) {
            settings->setEnabled(bool(onSettings));
        }
        if (flavor == MenuFlavor::drawnByApp) {
            rebuildHistoryMenu();
        } else {
            refreshExportedHistory();
        }
    });
}

QAction* AppDelegate::addCommand(QMenu* menu, const MenuItem& item, MenuFlavor flavor) {
    QAction* action = menu->addAction(literal(item.text));
    action->setEnabled(item.enabled);
    if (!item.thumbnail.isNull()) {
        action->setIcon(QIcon(QPixmap::fromImage(item.thumbnail)));
    } else if (!item.iconName.isEmpty()) {
        // Theme icons are looked up when a menu first opens: the lookup reads the icon
        // themes' indexes and caches, memory the idle tray process does without.
        m_pendingIcons.emplace_back(action, item.iconName);
    }
    if (!item.toolTip.isEmpty()) {
        action->setToolTip(item.toolTip);
    }
    if (item.command == MenuCommand::capture) {
        (flavor == MenuFlavor::drawnByApp ? m_captureItem : m_exportedCaptureItem) = action;
    } else if (item.command == MenuCommand::settings) {
        m_settingsItems.push_back(action);
        action->setEnabled(bool(onSettings));
    }
    if (item.command != MenuCommand::none) {
        connect(action, &QAction::triggered, this,
                [this, command = item.command, path = item.bundlePath, delay = item.delaySeconds] {
                    run(command, path, delay);
                });
    }
    return action;
}

void AppDelegate::addHistoryRow(QMenu* menu, const MenuItem& item) {
    auto* row = new HistoryMenuItemView(item.thumbnail, item.text, item.isExternal);
    if (!item.toolTip.isEmpty()) {
        row->setToolTip(item.toolTip);
    }
    auto* action = new QWidgetAction(menu);
    action->setDefaultWidget(row);
    action->setText(literal(item.text));
    const QString path = item.bundlePath;
    const QPointer<QWidgetAction> weakItem(action);
    const QPointer<QMenu> weakMenu(menu);
    row->onOpen = [this, path] { openHistoryEntry(path); };
    row->onReveal = [this, path] { m_opener.history().reveal(path); };
    if (!item.isExternal) {
        row->onDelete = [this, path, weakItem, weakMenu] {
            deleteHistoryEntry(path);
            if (!weakItem || !weakMenu) {
                return;
            }
            weakMenu->removeAction(weakItem);
            weakItem->deleteLater();
            if (weakMenu->actions().isEmpty()) {
                weakMenu->addAction(statusmenu::noHistoryText)->setEnabled(false);
            }
        };
    }
    menu->addAction(action);
}

void AppDelegate::applyPendingIcons() {
    m_iconsLoaded = true;
    for (const auto& [item, iconName] : m_pendingIcons) {
        if (item) {
            item->setIcon(QIcon::fromTheme(iconName));
        }
    }
    m_pendingIcons.clear();
}

void AppDelegate::rebuildHistoryMenu() {
    clearMenu(m_historyMenu);
    buildMenu(m_historyMenu,
              statusmenu::historyItems(m_opener.history().allEntries(statusmenu::historyLimit),
                                       MenuFlavor::drawnByApp),
              MenuFlavor::drawnByApp);
}

void AppDelegate::refreshExportedHistory() {
    const std::vector<HistoryStore::Entry> entries =
        m_opener.history().allEntries(statusmenu::historyLimit);
    QStringList signature = signatureOf(entries);
    if (m_exportedSignature && signature == *m_exportedSignature) {
        return;
    }
    m_exportedSignature = std::move(signature);
    clearMenu(m_exportedHistory);
    buildMenu(m_exportedHistory, statusmenu::historyItems(entries, MenuFlavor::drawnByDesktop),
              MenuFlavor::drawnByDesktop);
    if (m_iconsLoaded) {
        applyPendingIcons();
    }
}

} // namespace vellumix
