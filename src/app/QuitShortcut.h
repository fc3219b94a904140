#pragma once

#include <QObject>

#include <functional>

namespace vellumix {

/// Ctrl+Q quits from any window of the application (editors, the settings window, the open
/// panel, the capture overlay): the key the desktop's programs quit with, in place of the
/// menu bar's "Quit Vellumix" item that a tray application has no menu bar for. A focused
/// widget that claims the key (the shortcut recorder while it records) keeps it.
class QuitShortcut final : public QObject {
public:
    /// Watches every window's keys while it lives; `quit` runs once per key press.
    explicit QuitShortcut(std::function<void()> quit);
    ~QuitShortcut() override;
    QuitShortcut(const QuitShortcut&) = delete;
    QuitShortcut& operator=(const QuitShortcut&) = delete;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::function<void()> m_quit;
};

} // namespace vellumix
