#include "CenteringClipView.h"
#include "ColorWell.h"
#include "EditorModel.h"
#include "EditorWindowController.h"
#include "SplitButtons.h"
#include "canvas/AnnotationCanvasView.h"
#include "codecs/ImageImport.h"
#include "library/PresetMenu.h"

#include <QButtonGroup>
#include <QColorDialog>
#include <QComboBox>
#include <QFileDialog>
#include <QImageReader>
#include <QShortcut>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace vellumix {

void EditorWindowController::connectActions() {
    for (auto& [tool, button] : m_toolButtons) {
        connect(button, &QToolButton::clicked, this, [this, tool = tool] { selectTool(tool); });
    }
    for (auto& [tool, chevron] : m_chevronButtons) {
        connect(chevron, &QToolButton::clicked, this,
                [this, tool = tool] { toolChevronPressed(tool); });
    }

    connectStyleControls();
    connect(m_zoomInButton, &QToolButton::clicked, this, &EditorWindowController::zoomIn);
    connect(m_zoomOutButton, &QToolButton::clicked, this, &EditorWindowController::zoomOut);
    m_scrollView->onZoomSteps = [this](int steps, QPointF anchor) { zoomSteps(steps, anchor); };
    m_scrollView->onMagnify = [this](double factor, QPointF anchor) { magnify(factor, anchor); };
    m_scrollView->onMagnifyEnded = [this] {
        m_model->magnificationDidEnd(m_scrollView->magnification());
        applyZoom(m_model->magnification());
    };
    connectFooter();

    m_model->onImageChanged = [this](const QImage& image) { imageDidChange(image); };
    CanvasDocument& canvas = m_canvas->document();
    m_canvasSubscriptions.push_back(
        canvas.onEditImageCancelled.subscribe([this] { cancelImageEdit(); }));
    m_canvasSubscriptions.push_back(canvas.onMergeIntoImage.subscribe(
        [this](const AnnotationIDSet& ids) { mergeIntoImage(ids); }));
    m_canvasSubscriptions.push_back(canvas.onCopyText.subscribe([this] { copyText(); }));
    m_canvasSubscriptions.push_back(canvas.onRequestAddOverlay.subscribe(
        [this](std::optional<QPointF> point) { addOverlayFromFile(point); }));
}

void EditorWindowController::connectStyleControls() {
    m_strokeWell->onColorChanged = [this](const Color& c) { m_model->strokeColorChanged(c); };
    m_strokeWell->onClear = [this] { m_model->clearStrokeColor(); };
    m_fillWell->onColorChanged = [this](const Color& c) { m_model->fillColorChanged(c); };
    m_fillWell->onClear = [this] { m_model->clearFillColor(); };
    m_fontWell->onColorChanged = [this](const Color& c) { m_model->fontColorChanged(c); };
    routeColorPanel();

    const auto onIndex = [this](QComboBox* box, void (EditorModel::*change)(int)) {
        connect(box, &QComboBox::currentIndexChanged, this, [this, change](int index) {
            if (!m_showingControls) {
                (m_model.get()->*change)(index);
            }
        });
    };
    onIndex(m_opacityPopUp, &EditorModel::opacityChanged);
    onIndex(m_lineWidthPopUp, &EditorModel::lineWidthChanged);
    onIndex(m_linePatternPopUp, &EditorModel::lineStyleChanged);
    onIndex(m_cornerRadiusPopUp, &EditorModel::cornerRadiusChanged);
    onIndex(m_fontFamilyPopUp, &EditorModel::fontFamilyChanged);
    onIndex(m_fontSizePopUp, &EditorModel::fontSizeChanged);
    onIndex(m_textPaddingPopUp, &EditorModel::textPaddingChanged);
    for (QToolButton* segment : {m_boldButton, m_italicButton}) {
        connect(segment, &QToolButton::toggled, this, [this] {
            if (!m_showingControls) {
                m_model->fontStyleChanged(m_boldButton->isChecked(), m_italicButton->isChecked());
            }
        });
    }
    connect(m_alignmentGroup, &QButtonGroup::idClicked, this,
            [this](int index) { m_model->alignmentChanged(index); });
}

void EditorWindowController::connectFooter() {
    connect(m_visibilityToggle, &QToolButton::clicked, this,
            &EditorWindowController::toggleAnnotationVisibility);
    connect(m_editImageButton, &QToolButton::clicked, this,
            [this] { selectTool(Tool::editImage); });
    connect(m_discardButton, &QToolButton::clicked, this, &EditorWindowController::discardAndClose);
    connect(m_copyButton, &QToolButton::clicked, this, &EditorWindowController::copyImage);
    if (m_pinButton != nullptr) {
        connect(m_pinButton, &QToolButton::clicked, this, &EditorWindowController::pinPicture);
        auto* pinKey = new QShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+P")), this);
        connect(pinKey, &QShortcut::activated, this, &EditorWindowController::pinPicture);
    }
    m_saveButton->onMainClick = [this] { performSelectedSave(); };
    m_saveButton->onChevronClick = [this] { showSaveModeMenu(); };

    const std::pair<const char*, std::function<void()>> operations[] = {
        {"rotate-right", [this] { rotateRight(); }},
        {"flip-horizontal", [this] { flip(Qt::Horizontal); }},
        {"flip-vertical", [this] { flip(Qt::Vertical); }},
        {"resize", [this] { presentResizeDialog(); }},
        {"auto-enhance", [this] { autoEnhanceImage(); }},
        {"straighten", [this] { straightenDocument(); }},
    };
    for (const auto& [name, run] : operations) {
        if (auto* button = m_imageEditGroup->findChild<QToolButton*>(QLatin1String(name))) {
            connect(button, &QToolButton::clicked, this, run);
        }
    }
    connect(m_cancelEditButton, &QToolButton::clicked, this,
            &EditorWindowController::cancelImageEdit);
    connect(m_applyEditButton, &QToolButton::clicked, this,
            &EditorWindowController::applyImageEdit);
    // Apply answers Return while the session's controls are shown.
    for (int key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* shortcut = new QShortcut(QKeySequence(key), m_applyEditButton);
        shortcut->setContext(Qt::WindowShortcut);
        connect(shortcut, &QShortcut::activated, this, &EditorWindowController::applyImageEdit);
    }
}

void EditorWindowController::addOverlayFromFile(std::optional<QPointF> point) {
    const QString path = QFileDialog::getOpenFileName(
        this, QString(), QString(),
        QStringLiteral(
            "Images (*.png *.jpg *.jpeg *.gif *.bmp *.webp *.tif *.tiff *.heic *.heif)"));
    if (path.isEmpty()) {
        return;
    }
    const QImage overlay = importImageFile(path);
    if (!overlay.isNull()) {
        m_canvas->document().addOverlay(overlay, point);
    }
}

void EditorWindowController::routeColorPanel() {
    // While a text box is edited, the panel's colour goes to its text, whichever well opened
    // the panel; the panel is shared by all windows, so one hook, installed once, asks the
    // well's window.
    static const bool redirected = [] {
        SharedColorPanel::instance().redirect = [](const Color& color) {
            ColorWell* target = SharedColorPanel::instance().target();
            auto* window =
                target ? qobject_cast<EditorWindowController*>(target->window()) : nullptr;
            if (!window || !window->m_canvas->document().isEditingText()) {
                return false;
            }
            window->m_model->fontColorChanged(color);
            return true;
        };
        return true;
    }();
    (void)redirected;
    // The panel taking the keyboard does not end the text edit it colours.
    m_canvas->keepsTextEditingFor = [](const QWidget* activeWindow) {
        return activeWindow &&
               activeWindow == static_cast<const QWidget*>(SharedColorPanel::instance().dialog());
    };
    m_canvas->onMousePress = [] { SharedColorPanel::instance().close(); };
}

void EditorWindowController::selectTool(Tool tool) {
    m_model->selectTool(tool);
}

void EditorWindowController::toolChevronPressed(Tool tool) {
    if (!m_presetMenu) {
        m_presetMenu = std::make_unique<PresetMenuController>(m_services.styles, tool, this);
        m_presetMenu->onApply = [this](const PresetEntry& preset) {
            m_model->applyStylePreset(preset.style, m_presetMenu->tool());
        };
        m_presetMenu->onDelete = [this](const PresetEntry& preset) {
            m_services.styles.deletePreset(preset.id, m_presetMenu->tool());
        };
    }
    m_presetMenu->setTool(tool);
    m_presetMenu->rebuild();
    QToolButton* chevron = m_chevronButtons.at(tool);
    m_presetMenu->menu()->popup(chevron->mapToGlobal(QPoint(0, chevron->height())));
}

void EditorWindowController::applyZoom(double magnification, std::optional<QPointF> anchor) {
    m_scrollView->setMagnification(magnification, anchor);
}

void EditorWindowController::zoomIn() {
    applyZoom(m_model->zoomIn());
}

void EditorWindowController::zoomOut() {
    applyZoom(m_model->zoomOut());
}

void EditorWindowController::zoomSteps(int steps, QPointF anchor) {
    double magnification = m_model->magnification();
    for (int i = 0; i < std::abs(steps); ++i) {
        magnification = steps > 0 ? m_model->zoomIn() : m_model->zoomOut();
    }
    applyZoom(magnification, anchor);
}

void EditorWindowController::magnify(double factor, QPointF anchor) {
    if (!(factor > 0) || !std::isfinite(factor)) {
        return;
    }
    const auto& limits = m_model->openingGeometry();
    const double next = std::clamp(m_scrollView->magnification() * factor,
                                   limits.minimumMagnification, limits.maximumMagnification);
    applyZoom(next, anchor);
}

void EditorWindowController::toggleAnnotationVisibility() {
    m_model->toggleAnnotationVisibility();
}

} // namespace vellumix
