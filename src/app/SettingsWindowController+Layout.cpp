#include "LinkTextField.h"
#include "SettingsWindowController.h"
#include "ShortcutRecorderView.h"
#include "desktop/LoginItem.h"
#include "editor/ColorWell.h"
#include "library/Keychain.h"
#include "library/Settings.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace vellumix {

namespace {

constexpr int margin = 20;
constexpr int itemGap = 12;
constexpr int headingGap = 4;
constexpr int separatorWidth = 380;
constexpr int keyFieldWidth = 240;

// A small grey line that says why something cannot work; hidden while all is well.
QLabel* problemLabel() {
    auto* label = new QLabel;
    QFont small = label->font();
    small.setPointSizeF(small.pointSizeF() * 0.9);
    label->setFont(small);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->hide();
    return label;
}

QFrame* separator() {
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    line->setFixedWidth(separatorWidth);
    return line;
}

QLabel* heading(const QString& text) {
    auto* label = new QLabel(text);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    return label;
}

QHBoxLayout* row(int spacing) {
    auto* layout = new QHBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    return layout;
}

// Items hang from the leading edge; each carries the gap that follows it.
void add(QVBoxLayout* column, QWidget* item, int gapAfter = itemGap) {
    column->addWidget(item, 0, Qt::AlignLeft);
    column->addSpacing(gapAfter);
}

void add(QVBoxLayout* column, QLayout* item, int gapAfter = itemGap) {
    auto* holder = new QWidget;
    holder->setLayout(item);
    add(column, holder, gapAfter);
}

} // namespace

void SettingsWindowController::buildContent() {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(0);

    m_launchCheckbox = new QCheckBox(QStringLiteral("Launch on startup"));
    connect(m_launchCheckbox, &QCheckBox::clicked, this,
            &SettingsWindowController::launchToggleChanged);
    add(column, m_launchCheckbox);
    add(column, separator());

    add(column, heading(QStringLiteral("Capture shortcut")), headingGap);
    addCaptureShortcutRows(column);
    add(column, separator());

    m_retainStylesCheckbox = new QCheckBox(QStringLiteral("Remember last style for each tool"));
    connect(m_retainStylesCheckbox, &QCheckBox::clicked, this,
            &SettingsWindowController::retainStylesChanged);
    add(column, m_retainStylesCheckbox);
    m_showCursorCoordsCheckbox =
        new QCheckBox(QStringLiteral("Show cursor coordinates in Select mode"));
    connect(m_showCursorCoordsCheckbox, &QCheckBox::clicked, this,
            &SettingsWindowController::showCursorCoordsChanged);
    add(column, m_showCursorCoordsCheckbox);
    m_closeAfterSaveCheckbox =
        new QCheckBox(QStringLiteral("Close Vellumix after Export/Copy/Save"));
    connect(m_closeAfterSaveCheckbox, &QCheckBox::clicked, this,
            &SettingsWindowController::closeAfterSaveChanged);
    add(column, m_closeAfterSaveCheckbox);
    add(column, separator());

    auto* colorRow = row(8);
    auto* colorLabel = new QLabel(QStringLiteral("Blank canvas color"));
    colorRow->addWidget(colorLabel);
    m_canvasColorWell = new ColorWell(QStringLiteral("Blank canvas color"), false);
    m_canvasColorWell->onColorChanged = [this](const Color& color) {
        blankCanvasColorChanged(color);
    };
    colorRow->addWidget(m_canvasColorWell);
    add(column, colorRow);
    add(column, separator());

    add(column, heading(QStringLiteral("AI providers")), headingGap);
    addApiKeyRows(column);
    column->addStretch(1);
}

void SettingsWindowController::addCaptureShortcutRows(QVBoxLayout* column) {
    auto* rows = new QVBoxLayout;
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(6);

    m_overrideRadio = new QRadioButton(QStringLiteral("Override native screenshot (Print)"));
    connect(m_overrideRadio, &QRadioButton::clicked, this,
            &SettingsWindowController::overrideRadioChanged);
    rows->addWidget(m_overrideRadio, 0, Qt::AlignLeft);

    auto* customRow = row(8);
    m_customRadio = new QRadioButton(QStringLiteral("Custom:"));
    connect(m_customRadio, &QRadioButton::clicked, this,
            &SettingsWindowController::customRadioChanged);
    customRow->addWidget(m_customRadio);
    m_shortcutRecorder = new ShortcutRecorderView(0, 0);
    m_shortcutRecorder->onShortcutRecorded = [this](std::uint32_t code, std::uint32_t flags) {
        shortcutChanged(code, flags);
    };
    customRow->addWidget(m_shortcutRecorder);
    auto* clear = new QToolButton;
    clear->setIcon(QIcon::fromTheme(QStringLiteral("edit-clear"),
                                    style()->standardIcon(QStyle::SP_LineEditClearButton)));
    clear->setIconSize(QSize(16, 16));
    clear->setFixedSize(ShortcutRecorderView::fixedHeight, ShortcutRecorderView::fixedHeight);
    clear->setAutoRaise(true);
    clear->setToolTip(QStringLiteral("Clear shortcut"));
    clear->setAccessibleName(QStringLiteral("Clear shortcut"));
    connect(clear, &QToolButton::clicked, this, &SettingsWindowController::clearShortcut);
    customRow->addWidget(clear);
    m_clearBtn = clear;
    rows->addLayout(customRow);
    // The whole explanation is needed here (what to do instead), so it may take two lines.
    m_shortcutProblemLabel = problemLabel();
    m_shortcutProblemLabel->setWordWrap(true);
    m_shortcutProblemLabel->setFixedWidth(separatorWidth);
    rows->addWidget(m_shortcutProblemLabel, 0, Qt::AlignLeft);

    auto* choices = new QButtonGroup(this);
    choices->addButton(m_overrideRadio);
    choices->addButton(m_customRadio);
    add(column, rows);
}

void SettingsWindowController::addApiKeyRows(QVBoxLayout* column) {
    // The key row and, when the keyring fails, its explanation right under it.
    auto* rows = new QVBoxLayout;
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(headingGap);

    auto* keyRow = row(8);
    auto* keyLabel = new QLabel(QStringLiteral("Gemini API key:"));
    keyRow->addWidget(keyLabel);
    m_geminiKeyField = new QLineEdit;
    m_geminiKeyField->setEchoMode(QLineEdit::Password);
    m_geminiKeyField->setPlaceholderText(QStringLiteral("Paste your key…"));
    m_geminiKeyField->setFixedWidth(keyFieldWidth);
    m_geminiKeyField->setAccessibleName(QStringLiteral("Gemini API key"));
    keyLabel->setBuddy(m_geminiKeyField);
    connect(m_geminiKeyField, &QLineEdit::textEdited, this, [this] { m_keyEdited = true; });
    connect(m_geminiKeyField, &QLineEdit::editingFinished, this,
            &SettingsWindowController::geminiKeyChanged);
    keyRow->addWidget(m_geminiKeyField);
    rows->addLayout(keyRow);

    m_keychainProblemLabel = problemLabel();
    m_keychainProblemLabel->setMaximumWidth(separatorWidth);
    rows->addWidget(m_keychainProblemLabel, 0, Qt::AlignLeft);
    add(column, rows, headingGap);

    m_keyPageLink =
        new LinkTextField(QStringLiteral("Get a key from Google AI Studio →"), QUrl(apiKeyPageUrl));
    add(column, m_keyPageLink, 0);
}

void SettingsWindowController::fillControls() {
    Settings& settings = m_services.settings;
    m_launchCheckbox->setChecked(m_services.loginItem.isEnabled());
    m_retainStylesCheckbox->setChecked(settings.retainLastStylePerType());
    m_showCursorCoordsCheckbox->setChecked(settings.showCursorCoords());
    m_closeAfterSaveCheckbox->setChecked(settings.closeAfterSave());
    m_canvasColorWell->setColor(settings.blankCanvasColor());

    m_geminiKeyField->setText(ApiKeyStore(m_services.keychain).apiKey().value_or(QString()));
    m_keyEdited = false;
    showKeychainProblem();

    const bool overriding = settings.overrideNativeCapture();
    m_overrideRadio->setChecked(overriding);
    m_customRadio->setChecked(!overriding);
    m_shortcutRecorder->cancelRecording();
    m_shortcutRecorder->setShortcut(settings.captureKeyCode(), settings.captureModifierFlags());
    setShortcutControlsEnabled(!overriding);
    showShortcutProblem();
}

void SettingsWindowController::showShortcutProblem() {
    const QString problem =
        m_services.shortcutProblem ? m_services.shortcutProblem().trimmed() : QString();
    m_shortcutProblemLabel->setText(problem);
    m_shortcutProblemLabel->setVisible(!problem.isEmpty());
}

void SettingsWindowController::showKeychainProblem() {
    const QString problem =
        m_services.keychainProblem ? m_services.keychainProblem().trimmed() : QString();
    // One line: a long message is cut, and the whole of it stays in the tool tip.
    const QFontMetrics metrics(m_keychainProblemLabel->font());
    m_keychainProblemLabel->setText(
        metrics.elidedText(problem, Qt::ElideRight, m_keychainProblemLabel->maximumWidth()));
    m_keychainProblemLabel->setToolTip(problem);
    m_keychainProblemLabel->setVisible(!problem.isEmpty());
}

void SettingsWindowController::setShortcutControlsEnabled(bool on) {
    m_shortcutRecorder->setEnabled(on);
    m_clearBtn->setEnabled(on);
}

} // namespace vellumix
