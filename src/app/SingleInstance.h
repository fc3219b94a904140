#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

#include <functional>

namespace vellumix {

/// One running Vellumix per session: the first launch takes a name on the session bus; a later
/// launch hands its files to that one over D-Bus and ends. Without a session bus every launch
/// runs on its own.
class SingleInstance final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.vellumix.Vellumix")

public:
    static inline const QString serviceName = QStringLiteral("app.vellumix.Vellumix");

    /// Files another launch handed over, as absolute paths, in the order given.
    std::function<void(const QStringList&)> onOpenFiles;
    /// Another launch asked for an area capture (`vellumix --capture`), after a delay in
    /// seconds (`--delay N`) or at once (0).
    std::function<void(int delaySeconds)> onCapture;
    /// Another launch with nothing to open or capture (the app grid, a dock, a launcher).
    std::function<void()> onActivate;

    /// True when this process is the one that runs; false when another already runs and has
    /// received `files`, the capture, or (with neither) the request to show itself; then this
    /// process should end.
    bool claim(const QStringList& files, bool capture = false,
               QDBusConnection bus = QDBusConnection::sessionBus(), int captureDelaySeconds = 0);

public Q_SLOTS:
    /// Called by a later launch over D-Bus.
    Q_SCRIPTABLE void Open(const QStringList& paths);
    /// Starts an area capture; called by `vellumix --capture`, also from a desktop's own
    /// keyboard shortcut where applications cannot take global keys.
    Q_SCRIPTABLE void Capture();
    /// Starts an area capture after `seconds`; called by `vellumix --capture --delay N`.
    Q_SCRIPTABLE void CaptureAfter(int seconds);
    /// Shows the home window; called by a launch with no arguments.
    Q_SCRIPTABLE void Activate();
};

/// Paths as a later launch hands them over: absolute, so the running process finds them.
QStringList absolutePaths(const QStringList& files);

} // namespace vellumix
