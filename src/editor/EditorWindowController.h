#pragma once

#include "EditorControls.h"
#include "ai/Routing.h"
#include "ai/SensitiveText.h"
#include "model/Annotation.h"
#include "model/Listeners.h"

#include <QPointer>
#include <QSet>
#include <QWidget>

#include <functional>
#include <map>
#include <memory>
#include <optional>

class QAbstractButton;
class QButtonGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class QToolButton;

namespace vellumix {

class AIOverlayView;
class AIProviderButton;
class AIRequestFlow;
class AnalysisCache;
class CloudModelClient;
class LocalModelClient;
class PromptHistoryBrowser;
class AnnotationCanvasView;
class BundleAutosave;
class CenteringClipView;
class ColorWell;
class EditorModel;
class HistoryStore;
class PresetMenuController;
class RedactionBar;
class RedactionMarks;
class SaveSplitButton;
class Settings;
class StyleLibrary;
class ResizeImageDialog;
class StatusToast;
enum class ExportFormat;
enum class SaveMode;
namespace imageops {
struct Edited;
}

/// The save split button's title for a save mode.
QString saveModeTitle(SaveMode mode);

/// What an editor window is opened with.
struct EditorDocument {
    QImage image;
    /// The project bundle in the history (or opened from elsewhere) that the window saves into.
    std::optional<QString> bundlePath;
    /// The format the image came from ("png", "jpeg", …), for saving.
    std::optional<QString> sourceFormat;
    AnnotationList initialAnnotations;
    /// The bundle's folder is only reserved: the window writes the bundle off the main thread
    /// while it opens.
    bool bundleIsNew = false;
};

/// The services an editor window works with; shared by all windows.
struct EditorServices {
    Settings& settings;
    StyleLibrary& styles;
    /// The history that owns the bundles; none in tests that need no bundle.
    HistoryStore* history = nullptr;
};

/// What the assistant in every editor window talks to; the app installs it once at start-up.
struct AssistantServices {
    CloudModelClient* gemini = nullptr;
    LocalModelClient* localModel = nullptr;
    /// The stored cloud key, read as a cloud request starts.
    std::function<std::optional<QString>()> apiKey;
    /// A window's provider menu changed the stored provider: every window's prompt field state
    /// wants recomputing.
    std::function<void()> providerChanged;
};

/// One editor window: the toolbar, the second bar, the canvas in its zoomable scroll view and
/// the footer. Every rule lives in its EditorModel; the window turns widget signals into calls
/// on it and shows the controls it reports.
class EditorWindowController final : public QWidget {
    Q_OBJECT

public:
    EditorWindowController(EditorDocument document, EditorServices services,
                           QWidget* parent = nullptr);
    ~EditorWindowController() override;

    /// Shows the window centred on the screen under the mouse, at its opening size.
    void present();

    /// Run once when the window has closed (the closing save is done by then).
    std::function<void()> onClose;

    AnnotationCanvasView* canvasView() const { return m_canvas; }
    QLineEdit* promptField() const { return m_promptField; }

    /// The assistant's prompt field takes input or not and says why when empty; the app calls
    /// this when a window opens and whenever the key or the provider's availability changes.
    void showPromptFieldState(const PromptFieldState& state);

    // --- Assistant (EditorWindowController+AI) ----------------------------------------------
    static void setAssistantServices(AssistantServices services);
    AIOverlayView* aiOverlayView() const { return m_aiOverlay; }
    /// Called instead of the system beep when set (tests listen for it).
    std::function<void()> onBeep;
    CenteringClipView* scrollView() const { return m_scrollView; }
    EditorModel& model() const { return *m_model; }
    const std::optional<QString>& bundlePath() const { return m_bundlePath; }
    bool isDiscarded() const { return m_isDiscarded; }
    /// The analysis of the current image for the assistant, kept until the image changes.
    AnalysisCache& visionAnalysis() const { return *m_visionAnalysis; }

    // --- Actions (EditorWindowController+Actions) --------------------------------------------
    void selectTool(Tool tool);
    void zoomIn();
    void zoomOut();
    void toggleAnnotationVisibility();
    /// Deletes the window's bundle and closes without saving.
    void discardAndClose();

    // --- Saving (EditorWindowController+Save) ------------------------------------------------
    void performSelectedSave();
    void pickSaveMode(SaveMode mode);
    void exportToDesktop();
    void exportAs();
    void saveProject();
    void copyImage();
    /// Opens the flattened picture in a pin near where the canvas shows it (X11 only).
    void pinPicture();
    /// Writes the flattened picture; false (with a "Save failed: " line) when it could not.
    bool exportPicture(ExportFormat format, const QString& path);
    /// Writes a project bundle at `path`, replacing what is there only once it is complete.
    bool writeProject(const QString& path);

    // --- Copy Text (EditorWindowController+CopyText) ----------------------------------------
    /// Copies the recognised text of the picture, or of the selected annotations' area, to the
    /// clipboard. The first analysis runs off the main thread; a toast over the canvas tells
    /// what was copied.
    void copyText();
    /// The toast over the canvas; none until the first message.
    StatusToast* statusToast() const { return m_statusToast; }

    // --- Image operations (EditorWindowController+ImageEdit, +Resize) ------------------------
    void rotateRight();
    void flip(Qt::Orientation axis);
    void autoEnhanceImage();
    void straightenDocument();
    void applyImageEdit();
    void cancelImageEdit();
    void presentResizeDialog();
    void resizeImage(QSize size);
    void mergeIntoImage(const QSet<AnnotationID>& ids);

    // --- Redaction in the image-edit session (EditorWindowController+Redact) --------------------
    /// Switches the Redact mode on or off (on starts the image-edit session if needed).
    void setRedactMode(bool on);
    /// Proposes the sensitive text of these kinds as marks, once the analysis is there; `done`
    /// gets the number proposed (0 when the session ended meanwhile).
    void markSensitiveText(SensitiveKinds kinds, std::function<void(int)> done);
    RedactionMarks& redactionMarks() const;
    RedactionBar* redactionBar() const { return m_redactionBar; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    // +UI
    void buildInterface();
    QWidget* buildToolbar();
    QWidget* buildSecondBar();
    QWidget* buildFooter();
    QWidget* buildImageEditGroup();
    QWidget* buildAssistantGroup();
    QToolButton* toolButton(Tool tool);
    void showControls(const EditorControls& controls);
    void showToolButtons(const EditorControls& controls);
    void showTextControls(const EditorControls& controls);

    // +Actions
    void connectActions();
    void connectStyleControls();
    void connectFooter();
    /// The canvas's "add image overlay": a picture chosen in a file dialog, placed at `point`.
    void addOverlayFromFile(std::optional<QPointF> point);
    void toolChevronPressed(Tool tool);
    void applyZoom(double magnification, std::optional<QPointF> anchor = std::nullopt);
    void zoomSteps(int steps, QPointF anchor);
    void magnify(double factor, QPointF anchor);
    void routeColorPanel();

    /// The picture being edited: the model's, which follows every change of the canvas's.
    const QImage& currentImage() const;

    // +AI
    void buildAssistant();
    void submitAIQuery();
    void stepPromptHistory(int direction);
    void showAIProviderMenu();
    void pickAIProvider(const QString& rawValue);
    void showAIProviderTips();
    void aiRequestFinished(bool emptyField);
    bool promptFieldKey(int key);
    void promptBeep();

    // Closing and the bundle
    void startAutosave(const EditorDocument& document);
    void saveOnClose();

    // +Save
    std::optional<QImage> flattenedPicture();
    void showSaveModeMenu();

    // +Redact
    void buildRedaction(RedactionBar* bar);
    void endRedaction();
    /// The session's picture changed (or the mode started): marks lie on the new one.
    void followSessionImage();
    void showRedactionCount();
    /// The session's picture with the marks switched on redacted; none without any.
    std::optional<QImage> redactedSessionImage() const;

    // +ImageEdit
    void imageDidChange(const QImage& image);
    /// `carryMarks` takes redaction marks onto the new picture; without it they are dropped.
    void replaceInSession(const imageops::Edited& edited, std::optional<QRectF> crop,
                          const std::function<QRectF(const QRectF&)>& carryMarks = {});

    EditorServices m_services;
    std::optional<QString> m_bundlePath;
    std::optional<QString> m_sourceFormat;
    bool m_isDiscarded = false;
    bool m_closed = false;
    std::unique_ptr<BundleAutosave> m_autosave;

    AnnotationCanvasView* m_canvas = nullptr;
    std::vector<Subscription> m_canvasSubscriptions;
    CenteringClipView* m_scrollView = nullptr;
    std::unique_ptr<EditorModel> m_model;
    std::unique_ptr<AnalysisCache> m_visionAnalysis;
    std::unique_ptr<PresetMenuController> m_presetMenu;
    QPointer<ResizeImageDialog> m_resizeDialog;
    StatusToast* m_statusToast = nullptr;

    // Toolbar
    std::map<Tool, QToolButton*> m_toolButtons;
    std::map<Tool, QToolButton*> m_chevronButtons;
    ColorWell* m_strokeWell = nullptr;
    ColorWell* m_fillWell = nullptr;
    QComboBox* m_opacityPopUp = nullptr;
    QComboBox* m_lineWidthPopUp = nullptr;
    QComboBox* m_linePatternPopUp = nullptr;
    QComboBox* m_cornerRadiusPopUp = nullptr;
    QToolButton* m_zoomOutButton = nullptr;
    QToolButton* m_zoomInButton = nullptr;
    QLabel* m_imageDimsLabel = nullptr;
    QLabel* m_imageZoomLabel = nullptr;
    QWidget* m_imageDimsGroup = nullptr;
    QWidget* m_selectedDimsGroup = nullptr;
    QLabel* m_selectedPosLabel = nullptr;
    QLabel* m_selectedSizeLabel = nullptr;

    // Second bar
    QWidget* m_textControls = nullptr;
    QComboBox* m_fontFamilyPopUp = nullptr;
    QToolButton* m_boldButton = nullptr;
    QToolButton* m_italicButton = nullptr;
    QComboBox* m_fontSizePopUp = nullptr;
    QButtonGroup* m_alignmentGroup = nullptr;
    QComboBox* m_textPaddingPopUp = nullptr;
    ColorWell* m_fontWell = nullptr;
    QToolButton* m_editImageButton = nullptr;

    // Footer
    QWidget* m_normalGroup = nullptr;
    QWidget* m_imageEditGroup = nullptr;
    QWidget* m_assistantGroup = nullptr;
    QToolButton* m_discardButton = nullptr;
    QToolButton* m_copyButton = nullptr;
    QToolButton* m_pinButton = nullptr; // none where pins cannot stay on top
    SaveSplitButton* m_saveButton = nullptr;
    QToolButton* m_visibilityToggle = nullptr;
    QToolButton* m_cancelEditButton = nullptr;
    QToolButton* m_applyEditButton = nullptr;
    AIProviderButton* m_providerButton = nullptr;
    QToolButton* m_infoButton = nullptr;
    QLineEdit* m_promptField = nullptr;

    // Redaction
    RedactionBar* m_redactionBar = nullptr;
    std::unique_ptr<RedactionMarks> m_redactionMarks;
    bool m_findingSensitiveText = false;

    // Assistant
    AIOverlayView* m_aiOverlay = nullptr;
    std::unique_ptr<AIRequestFlow> m_aiFlow;
    std::unique_ptr<PromptHistoryBrowser> m_promptHistory;
    PromptFieldState m_promptState;
    bool m_refocusPrompt = false;

    bool m_showingControls = false;
    double m_pinchStart = 1;

    friend class EditorWindowTest;
};

/// An icon of the app's editor set, drawn in `color` (the SVGs are monochrome masks).
QIcon editorIcon(const QString& name, const QColor& color);
/// Lets go of the shared icons once no window shows them; the next window draws them again.
void forgetEditorIcons();

} // namespace vellumix
