#include "AppDelegate.h"

#include "DocumentOpener.h"
#include "HistoryMenuItemView.h"
#include "bundle/ProjectBundle.h"
#include "canvas/AnnotationCanvasView.h"
#include "editor/EditorModel.h"
#include "library/CaptureShortcut.h"
#include "library/HistoryStore.h"
#include "platform/DisplaySession.h"

#include <QApplication>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLocale>
#include <QWidgetAction>

#include <cstdio>

// The app's resources live in a static library, which must register them itself (from the
// global namespace, where the resource functions are declared).
static void registerAppResources() {
    static const bool registered = [] {
        Q_INIT_RESOURCE(resources);
        return true;
    }();
    (void)registered;
}

namespace vellumix {

namespace {

// Theme icons where the desktop has them.
QIcon themed(const char* name) {
    return QIcon::fromTheme(QString::fromLatin1(name));
}

// The disabled header: "Vellumix", its first half black weight, its second light, dimmed.
QWidgetAction* headerItem(QMenu* menu) {
    auto* label = new QLabel;
    const QString name = QStringLiteral("Vellumix");
    const int half = int(name.size()) / 2;
    label->setText(QStringLiteral("<span style='font-weight:900'>%1</span>"
                                  "<span style='font-weight:300'>%2</span>")
                       .arg(name.left(half), name.mid(half)));
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
    action->setEnabled(false);
    return action;
}

} // namespace

QIcon applicationIcon() {
    registerAppResources();
    return QIcon(QStringLiteral(":/icons/vellumix.svg"));
}

AppDelegate::AppDelegate(DocumentOpener& opener, QObject* parent)
    : QObject(parent), m_opener(opener), m_statusMenu(std::make_unique<QMenu>()) {
    buildStatusMenu();
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
    m_trayIcon = std::make_unique<QSystemTrayIcon>(applicationIcon());
    m_trayIcon->setToolTip(QStringLiteral("Capture screen area"));
    m_trayIcon->setContextMenu(m_statusMenu.get());
    // A left click on the icon opens the same menu, as on the other desktops' status items.
    connect(m_trayIcon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    m_statusMenu->popup(QCursor::pos());
                }
            });

    const DisplaySession session = detectDisplaySession();
    std::printf("[Vellumix] Display session: %s\n", qPrintable(describe(session)));
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        std::printf(
            "[Vellumix] No system tray is running yet; the icon appears once one starts.\n");
    }
    std::fflush(stdout);
    m_trayIcon->show();
}

void AppDelegate::showCaptureShortcut(std::uint32_t keyCode, std::uint32_t modifierFlags) {
    // Only a hint: the key itself is caught by the global shortcut, never by the menu.
    m_captureItem->setShortcut(shortcut::menuKeySequence(keyCode, modifierFlags));
    m_captureItem->setShortcutContext(Qt::WidgetShortcut);
}

void AppDelegate::buildStatusMenu() {
    QMenu* menu = m_statusMenu.get();
    menu->addAction(headerItem(menu));
    menu->addSeparator();
    // Each item runs what `main` handed in, if anything, when it is chosen.
    const auto relay = [this](QAction* item, std::function<void()> AppDelegate::*handler) {
        connect(item, &QAction::triggered, this, [this, handler] {
            if (this->*handler) {
                (this->*handler)();
            }
        });
        return item;
    };
    // Theme icons are looked up when the menu first opens: the lookup reads the icon themes'
    // indexes and caches, memory the idle tray process does without.
    const auto withIcon = [this](QAction* item, const char* iconName) {
        m_pendingIcons.emplace_back(item, iconName);
        return item;
    };
    m_captureItem = relay(withIcon(menu->addAction(QStringLiteral("Capture")), "camera-photo"),
                          &AppDelegate::onCapture);
    relay(withIcon(menu->addAction(QStringLiteral("Paste")), "edit-paste"), &AppDelegate::onPaste);
    relay(withIcon(menu->addAction(QStringLiteral("Open…")), "document-open"),
          &AppDelegate::onOpen);
    m_historyMenu = menu->addMenu(QStringLiteral("History"));
    withIcon(m_historyMenu->menuAction(), "document-open-recent");
    m_historyMenu->setTitle(QStringLiteral("History"));
    menu->addSeparator();
    m_settingsItem =
        relay(withIcon(menu->addAction(QStringLiteral("Settings…")), "preferences-system"),
              &AppDelegate::onSettings);
    QAction* quit = withIcon(menu->addAction(QStringLiteral("Quit")), "application-exit");
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit);
    // The history is read afresh each time the menu opens; settings only once they exist.
    connect(menu, &QMenu::aboutToShow, this, [this] {
        for (const auto& [item, iconName] : m_pendingIcons) {
            item->setIcon(themed(iconName));
        }
        m_pendingIcons.clear();
        m_settingsItem->setEnabled(bool(onSettings));
        rebuildHistoryMenu();
    });
    m_settingsItem->setEnabled(false);
    rebuildHistoryMenu();
}

void AppDelegate::rebuildHistoryMenu() {
    QMenu* submenu = m_historyMenu;
    submenu->clear();
    const auto noHistory = [submenu] {
        submenu->addAction(QStringLiteral("No history yet"))->setEnabled(false);
    };
    const std::vector<HistoryStore::Entry> entries = m_opener.history().allEntries(10);
    if (entries.empty()) {
        noHistory();
        return;
    }
    for (const HistoryStore::Entry& entry : entries) {
        const QString title =
            entry.isExternal ? QFileInfo(entry.bundlePath).completeBaseName()
                             : QLocale::c().toString(entry.date, QStringLiteral("M/d, h:mm AP"));
        auto* row = new HistoryMenuItemView(entry.thumbnail, title, entry.isExternal);
        if (entry.isExternal) {
            row->setToolTip(entry.bundlePath);
        }
        auto* item = new QWidgetAction(submenu);
        item->setDefaultWidget(row);
        item->setText(title);
        const QString path = entry.bundlePath;
        const QPointer<QWidgetAction> weakItem(item);
        const QPointer<QMenu> weakMenu(submenu);
        row->onOpen = [this, path] { openHistoryEntry(path); };
        row->onReveal = [this, path] { m_opener.history().reveal(path); };
        if (!entry.isExternal) {
            row->onDelete = [this, path, weakItem, weakMenu, noHistory] {
                deleteHistoryEntry(path);
                if (!weakItem || !weakMenu) {
                    return;
                }
                weakMenu->removeAction(weakItem);
                weakItem->deleteLater();
                if (weakMenu->actions().isEmpty()) {
                    noHistory();
                }
            };
        }
        submenu->addAction(item);
    }
}

void AppDelegate::openHistoryEntry(const QString& bundlePath) {
    for (EditorWindowController* editor : m_opener.editors()) {
        if (editor->bundlePath() == bundlePath) {
            // Brought forward as it is: a maximised window stays maximised, and only a
            // minimised one is restored (to what it was before).
            if (editor->isMinimized()) {
                editor->setWindowState(editor->windowState() & ~Qt::WindowMinimized);
            }
            editor->show();
            editor->raise();
            editor->activateWindow();
            return;
        }
    }
    // One history entry at a time: the open editors close (and save) first.
    const std::vector<EditorWindowController*> open = m_opener.editors();
    for (EditorWindowController* editor : open) {
        editor->close();
    }
    const QImage image = bundle::readImage(bundlePath);
    if (image.isNull()) {
        return;
    }
    EditorDocument document;
    document.image = image;
    document.bundlePath = bundlePath;
    document.initialAnnotations = m_opener.history().loadAnnotations(bundlePath);
    m_opener.openDocument(std::move(document));
}

void AppDelegate::deleteHistoryEntry(const QString& bundlePath) {
    for (EditorWindowController* editor : m_opener.editors()) {
        if (editor->bundlePath() == bundlePath) {
            editor->close();
            break;
        }
    }
    (void)m_opener.history().deleteBundle(bundlePath);
}

} // namespace vellumix
