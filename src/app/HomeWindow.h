#pragma once

#include "library/HistoryStore.h"
#include "library/StatusMenuModel.h"

#include <QWidget>

#include <functional>
#include <vector>

class QGridLayout;
class QLabel;
class QPushButton;
class QScrollArea;
class QToolButton;

namespace vellumix {

/// The small window that stands in for the tray icon: on desktops without a tray, and
/// whenever Vellumix is launched again from the desktop with nothing to open. It offers what
/// the status menu offers (Capture, Paste, Open…, Settings…, Quit) and the history as a grid
/// of thumbnails: a click opens an entry, each tile's menu reveals it or deletes it (captured
/// entries only), and "No history yet" stands in an empty history.
class HomeWindow final : public QWidget {
    Q_OBJECT

public:
    using EntrySource = std::function<std::vector<HistoryStore::Entry>()>;

    /// `entries` lists the history afresh (newest first); it is asked on every refresh.
    explicit HomeWindow(EntrySource entries, QWidget* parent = nullptr);
    ~HomeWindow() override;

    /// A button or a tile's item was chosen; the window stays as it is (the owner hides it to
    /// capture).
    std::function<void(MenuCommand, const QString& bundlePath)> onCommand;
    /// A delay was chosen under "Capture in"; the owner hides the window to capture.
    std::function<void(int delaySeconds)> onDelayedCapture;

    /// Reads the history again, then shows the window in front with the focus.
    void present();
    /// Rebuilds the grid from the history.
    void refresh();
    void setSettingsAvailable(bool available);

    /// The history tiles in order, for tests and screen readers.
    std::vector<QToolButton*> tiles() const;
    QPushButton* button(MenuCommand command) const;
    /// "Capture in", whose menu lists the delays.
    QPushButton* delayedCaptureButton() const { return m_delayButton; }

    static constexpr int columns = 4;
    static constexpr QSize thumbnailSize{128, 80};

private:
    QToolButton* makeTile(const HistoryStore::Entry& entry);
    QPushButton* makeDelayButton(const MenuItem& submenu);
    void command(MenuCommand what, const QString& bundlePath = {});

    EntrySource m_entries;
    QScrollArea* m_scroll = nullptr;
    QGridLayout* m_grid = nullptr;
    QLabel* m_empty = nullptr;
    std::vector<std::pair<MenuCommand, QPushButton*>> m_buttons;
    QPushButton* m_delayButton = nullptr;
};

} // namespace vellumix
