#pragma once

// Real program windows with planted secrets, for measuring how well Find Sensitive Text hides
// them: a terminal (xterm, DejaVu Sans Mono) and a Qt dialog and page (the recall_window helper),
// each shown on an X server of its own and grabbed off it; then analysis, finding, redaction and
// a second reading of the redacted picture. Shared by the recall test and benchmark.

#include "ai/SensitiveText.h"

#include <QImage>
#include <QProcess>
#include <QStringList>

#include <memory>
#include <optional>

namespace vellumix::recall {

enum class Program { terminal, dialog, page };

/// One window to show: the program, its text size in points and its theme.
struct SceneSpec {
    Program program = Program::terminal;
    int points = 10;
    bool dark = false;

    QString name() const;
};

/// A grabbed window, the secrets planted in it and lines that hold none.
struct Scene {
    SceneSpec spec;
    QImage image;
    QStringList secrets;
    QStringList innocent;
};

/// What finding and redacting did to one scene.
struct Outcome {
    int planted = 0;
    /// Secrets of which no run of 5 characters is read again after redaction.
    int hidden = 0;
    QStringList leaks; // "secret: run" for the others
    /// Proposals over no planted secret, and their text.
    int marks = 0;
    QStringList falseMarks;
    /// Innocent lines read before redaction but no longer after it.
    QStringList innocentLost;
    /// The analysis the proposals came from, for timing the search on it; all that OCR read in
    /// it and on the redacted picture.
    VisionAnalysis analysis;
    QString read;
    QString reread;
    QImage redacted;
};

/// An Xvfb of its own (the display number chosen by the server), stopped with the object.
class XServer {
public:
    XServer();
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    /// ":N", or empty when the server could not start.
    QString display() const { return m_display; }

    /// Shows `spec`'s window with secrets from `seed` and grabs it; none when the program
    /// is missing or its window did not appear. `windowHelper` is the recall_window binary.
    std::optional<Scene> capture(const SceneSpec& spec, unsigned seed,
                                 const QString& windowHelper) const;

private:
    QProcess m_server;
    QString m_display;
};

/// Finds sensitive text in the scene's analysis, fills every proposal in black, reads the
/// result again and scores it.
Outcome evaluate(const Scene& scene);

} // namespace vellumix::recall
