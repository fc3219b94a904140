#pragma once

#include <QWidget>

#include <functional>

class QLabel;
class QPropertyAnimation;
class QTextBrowser;
class QToolButton;
class QUrl;

namespace vellumix {

class Spinner;

/// How the panel's status reads: working shows the spinner, the others an icon in their tint.
enum class AIStatusKind { working, done, error, info };

/// "Done" is done, a text beginning with "Error" is an error, anything else is work in progress.
AIStatusKind statusKindForText(const QString& text);

/// Whether a link in an answer may be opened: web pages only, never a local file or a program
/// (a model's answer can be steered by text inside the screenshot).
bool isOpenableAnswerLink(const QUrl& url);

/// The assistant's translucent panel over the bottom of the editor's canvas: a status line with
/// a spinner or icon, a close button, and the answer rendered as Markdown below it. It places
/// itself along the bottom edge of its parent and follows the parent's size. Links open in the
/// desktop's browser when `isOpenableAnswerLink` allows; pictures named in an answer are never
/// loaded.
class AIOverlayView final : public QWidget {
    Q_OBJECT
    Q_PROPERTY(int panelHeight READ panelHeight WRITE setPanelHeight)

public:
    static constexpr int workingHeight = 200;
    static constexpr int infoHeight = 360;

    explicit AIOverlayView(QWidget* parent);

    /// The close button or Escape hid the panel.
    std::function<void()> onClose;

    /// A request starts: "Thinking…", the spinner, the panel shown and grown to its working
    /// height.
    void begin();
    /// The kind follows from the text.
    void setStatus(const QString& text);
    void setStatus(const QString& text, AIStatusKind kind);
    void setMeta(const QString& markdown);
    void setResponse(const QString& markdown);
    /// The request failed: "Error" and the message as plain text.
    void showFailure(const QString& message);
    /// The provider's tips: the title with the info look, the text from its start, a taller panel.
    void showInfo(const QString& title, const QString& markdown);
    void close();

    QString statusText() const;
    AIStatusKind statusKind() const { return m_kind; }
    bool isSpinning() const;
    /// The text shown below the status line, as plain text.
    QString shownText() const;
    int panelHeight() const { return m_height; }
    /// The height the running animation ends at (or the current one).
    int targetHeight() const { return m_targetHeight; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void setPanelHeight(int height);
    void animateTo(int height);
    void showIfHidden();
    void render(bool scrollToEnd);
    void place();

    QLabel* m_statusLabel = nullptr;
    QToolButton* m_closeButton = nullptr;
    QTextBrowser* m_textView = nullptr;
    Spinner* m_spinner = nullptr;
    QLabel* m_statusIcon = nullptr;
    QPropertyAnimation* m_animation = nullptr;
    QString m_metaMarkdown;
    QString m_responseMarkdown;
    AIStatusKind m_kind = AIStatusKind::working;
    int m_height = 0;
    int m_targetHeight = 0;
};

} // namespace vellumix
