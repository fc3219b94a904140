#include "HomeWindow.h"

#include "AppDelegate.h"

#include <QGridLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace vellumix {

namespace {

// The thumbnail centred on a transparent tile of the grid's icon size, so every tile lines up.
QPixmap tileIcon(const QImage& thumbnail, QSize size, qreal ratio) {
    QPixmap canvas(size * ratio);
    canvas.setDevicePixelRatio(ratio);
    canvas.fill(Qt::transparent);
    if (!thumbnail.isNull()) {
        QPainter p(&canvas);
        p.setRenderHint(QPainter::SmoothPixmapTransform);
        const QSizeF fitted = QSizeF(thumbnail.size()).scaled(QSizeF(size), Qt::KeepAspectRatio);
        const QRectF target(
            QPointF((size.width() - fitted.width()) / 2, (size.height() - fitted.height()) / 2),
            fitted);
        p.drawImage(target, thumbnail);
    }
    return canvas;
}

// The thumbnail, the arrow of the tile's menu, and room on both sides.
constexpr int tileWidth = HomeWindow::thumbnailSize.width() + 44;

} // namespace

HomeWindow::HomeWindow(EntrySource entries, QWidget* parent)
    : QWidget(parent, Qt::Window), m_entries(std::move(entries)) {
    setWindowTitle(statusmenu::productName);
    setWindowIcon(applicationIcon());
    setAccessibleName(statusmenu::productName);

    auto* layout = new QVBoxLayout(this);
    auto* actions = new QHBoxLayout;
    // The status menu's commands, in its order and with its texts.
    for (const MenuItem& item : statusmenu::topLevelItems(MenuFlavor::drawnByDesktop)) {
        if (item.kind == MenuItem::Kind::submenu && !item.children.empty() &&
            item.children[0].command == MenuCommand::delayedCapture) {
            actions->addWidget(m_delayButton = makeDelayButton(item));
            continue;
        }
        if (item.kind != MenuItem::Kind::command || item.command == MenuCommand::none) {
            continue;
        }
        if (item.command == MenuCommand::quit) {
            actions->addStretch();
        }
        auto* button = new QPushButton(item.text);
        connect(button, &QPushButton::clicked, this,
                [this, what = item.command] { command(what); });
        actions->addWidget(button);
        m_buttons.emplace_back(item.command, button);
    }
    button(MenuCommand::capture)->setDefault(true);
    for (const QKeySequence& keys :
         {QKeySequence(QKeySequence::Close), QKeySequence(Qt::Key_Escape)}) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &QWidget::close);
    }
    layout->addLayout(actions);

    auto* heading = new QLabel(QStringLiteral("History"));
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    layout->addWidget(heading);

    auto* scroll = m_scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setAccessibleName(QStringLiteral("History"));
    auto* gridHolder = new QWidget;
    m_grid = new QGridLayout(gridHolder);
    m_grid->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    scroll->setWidget(gridHolder);
    layout->addWidget(scroll, 1);
    m_empty = new QLabel(statusmenu::noHistoryText);
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setEnabled(false);
    layout->addWidget(m_empty, 1);

    // Four tiles across, two rows in view.
    resize(columns * (tileWidth + m_grid->horizontalSpacing()) + 60,
           2 * (thumbnailSize.height() + 40) + 110);
    refresh();
}

HomeWindow::~HomeWindow() = default;

void HomeWindow::present() {
    refresh();
    showNormal();
    raise();
    activateWindow();
}

void HomeWindow::setSettingsAvailable(bool available) {
    button(MenuCommand::settings)->setEnabled(available);
}

QPushButton* HomeWindow::button(MenuCommand what) const {
    for (const auto& [command, button] : m_buttons) {
        if (command == what) {
            return button;
        }
    }
    return nullptr;
}

std::vector<QToolButton*> HomeWindow::tiles() const {
    std::vector<QToolButton*> found;
    for (int i = 0; i < m_grid->count(); ++i) {
        if (auto* tile = qobject_cast<QToolButton*>(m_grid->itemAt(i)->widget())) {
            found.push_back(tile);
        }
    }
    return found;
}

void HomeWindow::refresh() {
    while (QLayoutItem* item = m_grid->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    const std::vector<HistoryStore::Entry> entries = m_entries();
    m_empty->setVisible(entries.empty());
    m_scroll->setVisible(!entries.empty());
    int index = 0;
    for (const HistoryStore::Entry& entry : entries) {
        m_grid->addWidget(makeTile(entry), index / columns, index % columns);
        ++index;
    }
}

QPushButton* HomeWindow::makeDelayButton(const MenuItem& submenu) {
    auto* button = new QPushButton(submenu.text);
    auto* menu = new QMenu(button);
    for (const MenuItem& delay : submenu.children) {
        connect(menu->addAction(delay.text), &QAction::triggered, this,
                [this, seconds = delay.delaySeconds] {
                    // After the menu has closed, as for the other commands.
                    QTimer::singleShot(0, this, [this, seconds] {
                        if (onDelayedCapture) {
                            onDelayedCapture(seconds);
                        }
                    });
                });
    }
    button->setMenu(menu);
    return button;
}

QToolButton* HomeWindow::makeTile(const HistoryStore::Entry& entry) {
    const QString title = statusmenu::entryTitle(entry);
    auto* tile = new QToolButton;
    tile->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    tile->setIconSize(thumbnailSize);
    tile->setIcon(tileIcon(entry.thumbnail, thumbnailSize, devicePixelRatioF()));
    tile->setText(title);
    tile->setAutoRaise(true);
    tile->setFixedWidth(tileWidth);
    tile->setAccessibleName(title);
    tile->setAccessibleDescription(entry.isExternal ? QStringLiteral("External bundle")
                                                    : QStringLiteral("Captured"));
    tile->setToolTip(entry.isExternal ? entry.bundlePath : statusmenu::entryText(entry));
    const QString path = entry.bundlePath;
    connect(tile, &QToolButton::clicked, this,
            [this, path] { command(MenuCommand::openEntry, path); });
    // Reveal and delete from the tile's own menu (its arrow, or a right click).
    auto* menu = new QMenu(tile);
    connect(menu->addAction(statusmenu::revealText), &QAction::triggered, this,
            [this, path] { command(MenuCommand::revealEntry, path); });
    if (!entry.isExternal) {
        connect(menu->addAction(statusmenu::deleteText), &QAction::triggered, this,
                [this, path] { command(MenuCommand::deleteEntry, path); });
    }
    tile->setMenu(menu);
    tile->setPopupMode(QToolButton::MenuButtonPopup);
    tile->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(tile, &QWidget::customContextMenuRequested, tile,
            [tile, menu](QPoint at) { menu->popup(tile->mapToGlobal(at)); });
    return tile;
}

void HomeWindow::command(MenuCommand what, const QString& bundlePath) {
    // After the click has finished: a command may close this window or delete the tile.
    QTimer::singleShot(0, this, [this, what, bundlePath] {
        if (onCommand) {
            onCommand(what, bundlePath);
        }
        if (what == MenuCommand::deleteEntry) {
            refresh();
        }
    });
}

} // namespace vellumix
