#include "CenteringClipView.h"
#include "ColorWell.h"
#include "EditorModel.h"
#include "EditorValueTables.h"
#include "EditorWindowController.h"
#include "RedactionBar.h"
#include "RedactionMarks.h"
#include "SplitButtons.h"
#include "ai/AIRequestFlow.h"
#include "ai/Routing.h"
#include "canvas/AnnotationCanvasView.h"
#include "canvas/AnnotationRenderer.h"
#include "capture/PinWindow.h"
#include "library/Settings.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QFrame>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QStyleOptionComboBox>
#include <QStylePainter>
#include <QToolButton>
#include <QVBoxLayout>

namespace vellumix {

namespace {

constexpr int toolButtonSide = 28;
constexpr int toolIconSide = 18;

QString iconName(Tool tool) {
    switch (tool) {
    case Tool::select:
        return QStringLiteral("select");
    case Tool::rect:
        return QStringLiteral("rect");
    case Tool::oval:
        return QStringLiteral("oval");
    case Tool::arrow:
        return QStringLiteral("arrow");
    case Tool::draw:
        return QStringLiteral("draw");
    case Tool::step:
        return QStringLiteral("step");
    default:
        return QStringLiteral("text");
    }
}

QFrame* separator(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::VLine);
    line->setFrameShadow(QFrame::Sunken);
    line->setFixedHeight(22);
    return line;
}

QHBoxLayout* barLayout(QWidget* bar, int height) {
    bar->setFixedHeight(height);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(10, 0, 10, 0);
    layout->setSpacing(4);
    return layout;
}

QToolButton* iconButton(const QString& icon, const QString& toolTip, QWidget* parent) {
    auto* button = new QToolButton(parent);
    if (!icon.isEmpty()) {
        button->setIcon(editorIcon(icon, parent->palette().color(QPalette::ButtonText)));
    }
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

QToolButton* textButton(const QString& icon, const QString& title, QWidget* parent) {
    QToolButton* button = iconButton(icon, title, parent);
    button->setText(title);
    button->setToolTip(QString());
    button->setToolButtonStyle(icon.isEmpty() ? Qt::ToolButtonTextOnly
                                              : Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(false);
    return button;
}

// A pop-up of a value table: titles, optional drawn previews, the table's tool tip.
// A pop-up whose closed state shows only the chosen entry's preview; its list shows each
// preview with its title.
class PreviewPopUp final : public QComboBox {
public:
    using QComboBox::QComboBox;

    QSize sizeHint() const override {
        QStyleOptionComboBox option;
        initStyleOption(&option);
        return style()->sizeFromContents(QStyle::CT_ComboBox, &option, iconSize() + QSize(4, 0),
                                         this);
    }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent*) override {
        QStylePainter painter(this);
        QStyleOptionComboBox option;
        initStyleOption(&option);
        option.currentText.clear();
        painter.drawComplexControl(QStyle::CC_ComboBox, option);
        painter.drawControl(QStyle::CE_ComboBoxLabel, option);
    }
};

template <class V>
QComboBox* popUp(const ValueTable<V>& table, QWidget* parent,
                 const std::function<QIcon(const V&)>& preview = {}) {
    QComboBox* box = preview ? new PreviewPopUp(parent) : new QComboBox(parent);
    box->setToolTip(table.toolTip);
    box->setAccessibleName(table.toolTip);
    box->setFocusPolicy(Qt::TabFocus);
    for (const auto& entry : table.entries) {
        if (preview) {
            box->addItem(preview(entry.value), entry.title);
        } else {
            box->addItem(entry.title);
        }
    }
    if (preview) {
        box->setIconSize(QSize(28, 14));
    }
    return box;
}

// A picture of a line of the given width and pattern, as the canvas strokes it.
QIcon linePreview(double width, LineStyle pattern, const QColor& color) {
    QIcon icon;
    for (qreal ratio : {1.0, 2.0}) {
        QPixmap pixmap(QSize(28, 14) * ratio);
        pixmap.setDevicePixelRatio(ratio);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        // The biggest widths are shown capped so that the picture stays a line.
        const double shown = std::min(width, 10.0);
        painter.setPen(render::strokePen(Color::fromQColor(color), shown, pattern));
        painter.drawLine(QPointF(3 + shown / 2, 7), QPointF(25 - shown / 2, 7));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

// A corner of a rectangle with the radius, scaled into the picture.
QIcon cornerPreview(double radius, const QColor& color) {
    QIcon icon;
    for (qreal ratio : {1.0, 2.0}) {
        QPixmap pixmap(QSize(28, 14) * ratio);
        pixmap.setDevicePixelRatio(ratio);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(color, 1.5));
        const double r = radius * 0.45;
        painter.drawPath(render::boxPath(QRectF(6, 2, 26, 20), r));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void setState(QWidget* widget, const ControlState& state) {
    widget->setVisible(state.visible);
    widget->setEnabled(state.enabled);
}

void selectIndex(QComboBox* box, int index) {
    const QSignalBlocker quiet(box);
    box->setCurrentIndex(index);
}

} // namespace

namespace {

// Every window shows the same few dozen icons: each is drawn once per colour and shared while
// windows are open (about 1.3 MB of pixmaps). Drawn per window, every SVG render also stayed in
// the pixmap cache under a new key, so a day of windows grew the tray process.
QHash<QString, QIcon>& drawnIcons() {
    static auto* const drawn = new QHash<QString, QIcon>;
    return *drawn;
}

} // namespace

void forgetEditorIcons() {
    drawnIcons().clear();
}

QIcon editorIcon(const QString& name, const QColor& color) {
    QHash<QString, QIcon>* const drawn = &drawnIcons();
    const QString key = name + QLatin1Char('/') + color.name(QColor::HexArgb);
    if (const auto found = drawn->constFind(key); found != drawn->cend()) {
        return *found;
    }
    QIcon icon;
    const QIcon mask(QStringLiteral(":/icons/editor/%1.svg").arg(name));
    for (int side : {16, 18, 22, 32, 36, 44}) {
        QPixmap pixmap = mask.pixmap(side, side);
        if (pixmap.isNull()) {
            continue;
        }
        QPainter painter(&pixmap);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), color);
        painter.end();
        icon.addPixmap(pixmap);
    }
    drawn->insert(key, icon);
    return icon;
}

void EditorWindowController::buildInterface() {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(buildToolbar());
    column->addWidget(buildSecondBar());
    column->addWidget(m_scrollView, 1);
    column->addWidget(buildFooter());
}

QToolButton* EditorWindowController::toolButton(Tool tool) {
    auto* button = new QToolButton(this);
    button->setIcon(editorIcon(iconName(tool), palette().color(QPalette::ButtonText)));
    button->setIconSize(QSize(toolIconSide, toolIconSide));
    button->setFixedSize(toolButtonSide, toolButtonSide);
    button->setCheckable(true);
    button->setAutoRaise(true);
    button->setToolTip(editorTexts::toolButtonToolTip(tool));
    button->setAccessibleName(editorTexts::toolButtonToolTip(tool));
    button->setFocusPolicy(Qt::TabFocus);
    m_toolButtons[tool] = button;
    return button;
}

QWidget* EditorWindowController::buildToolbar() {
    auto* bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("toolbar"));
    QHBoxLayout* row = barLayout(bar, int(editorLayout::toolbarHeight));
    for (Tool tool : editorTexts::toolButtons) {
        auto* pair = new QHBoxLayout;
        pair->setSpacing(0);
        pair->addWidget(toolButton(tool));
        // Presets are saved from annotations, and a step is a text annotation: the step tool
        // has none of its own.
        if (tool != Tool::select && tool != Tool::step) {
            QToolButton* chevron = iconButton(QStringLiteral("chevron-down"),
                                              editorTexts::toolButtonToolTip(tool), bar);
            chevron->setToolTip(QString());
            chevron->setAccessibleName(editorTexts::toolButtonToolTip(tool) +
                                       QStringLiteral(" presets"));
            chevron->setIconSize(QSize(9, 9));
            chevron->setFixedSize(10, toolButtonSide);
            m_chevronButtons[tool] = chevron;
            pair->addWidget(chevron);
        }
        row->addLayout(pair);
    }
    row->addWidget(separator(bar));

    m_strokeWell = new ColorWell(editorTexts::strokeColor, true, bar);
    m_fillWell = new ColorWell(editorTexts::fillColor, true, bar);
    row->addWidget(m_strokeWell);
    row->addWidget(m_fillWell);

    const QColor ink = palette().color(QPalette::ButtonText);
    m_opacityPopUp = popUp(valueTables::opacity(), bar);
    m_opacityPopUp->setFixedWidth(68);
    m_lineWidthPopUp = popUp<double>(valueTables::lineWidth(), bar, [ink](const double& width) {
        return linePreview(width, LineStyle::solid, ink);
    });
    m_linePatternPopUp =
        popUp<LineStyle>(valueTables::linePattern(), bar,
                         [ink](const LineStyle& pattern) { return linePreview(2, pattern, ink); });
    m_cornerRadiusPopUp = popUp<double>(valueTables::cornerRadius(), bar,
                                        [ink](const double& r) { return cornerPreview(r, ink); });
    for (QComboBox* box :
         {m_opacityPopUp, m_lineWidthPopUp, m_linePatternPopUp, m_cornerRadiusPopUp}) {
        row->addWidget(box);
    }
    row->addStretch(1);

    m_zoomOutButton = iconButton(QStringLiteral("zoom-out"), editorTexts::zoomOut, bar);
    m_zoomInButton = iconButton(QStringLiteral("zoom-in"), editorTexts::zoomIn, bar);
    row->addWidget(m_zoomOutButton);
    row->addWidget(m_zoomInButton);

    // The read-outs stack two small lines each; the image's group gives way to the
    // selection's, so the bar stays narrow enough for small windows.
    const auto stacked = [bar](QLabel*& top, QLabel*& bottom) {
        auto* group = new QWidget(bar);
        auto* lines = new QVBoxLayout(group);
        lines->setContentsMargins(4, 0, 0, 0);
        lines->setSpacing(0);
        top = new QLabel(group);
        bottom = new QLabel(group);
        bottom->setForegroundRole(QPalette::PlaceholderText);
        QFont small = bar->font();
        small.setPointSizeF(small.pointSizeF() * 0.85);
        for (QLabel* label : {top, bottom}) {
            label->setFont(small);
            lines->addWidget(label);
        }
        group->setMinimumWidth(
            QFontMetrics(small).horizontalAdvance(QStringLiteral("88888 × 88888 px")));
        return group;
    };
    m_imageDimsGroup = stacked(m_imageDimsLabel, m_imageZoomLabel);
    m_selectedDimsGroup = stacked(m_selectedPosLabel, m_selectedSizeLabel);
    row->addWidget(m_imageDimsGroup);
    row->addWidget(m_selectedDimsGroup);
    return bar;
}

QWidget* EditorWindowController::buildSecondBar() {
    auto* bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("secondBar"));
    QHBoxLayout* row = barLayout(bar, int(editorLayout::subToolbarHeight));

    m_textControls = new QWidget(bar);
    auto* text = new QHBoxLayout(m_textControls);
    text->setContentsMargins(0, 0, 0, 0);
    text->setSpacing(6);
    m_fontFamilyPopUp = popUp(valueTables::fontFamily(), m_textControls);
    text->addWidget(m_fontFamilyPopUp);

    const auto segment = [this](const QString& title, bool bold, bool italic) {
        auto* button = new QToolButton(m_textControls);
        button->setText(title.left(1));
        QFont face = button->font();
        face.setBold(bold);
        face.setItalic(italic);
        button->setFont(face);
        button->setCheckable(true);
        button->setToolTip(editorTexts::fontStyle);
        button->setAccessibleName(title);
        button->setFocusPolicy(Qt::TabFocus);
        button->setFixedSize(26, 24);
        return button;
    };
    m_boldButton = segment(editorTexts::bold, true, false);
    m_italicButton = segment(editorTexts::italic, false, true);
    text->addWidget(m_boldButton);
    text->addWidget(m_italicButton);

    m_fontSizePopUp = popUp(valueTables::fontSize(), m_textControls);
    text->addWidget(m_fontSizePopUp);

    m_alignmentGroup = new QButtonGroup(m_textControls);
    m_alignmentGroup->setExclusive(true);
    const QStringList alignIcons{QStringLiteral("align-left"), QStringLiteral("align-center"),
                                 QStringLiteral("align-right")};
    for (int i = 0; i < 3; ++i) {
        QToolButton* button =
            iconButton(alignIcons[i], editorTexts::alignmentSegments[size_t(i)], m_textControls);
        button->setToolTip(editorTexts::textAlignment);
        button->setCheckable(true);
        button->setAutoRaise(false);
        button->setFixedSize(26, 24);
        m_alignmentGroup->addButton(button, i);
        text->addWidget(button);
    }
    m_textPaddingPopUp = popUp(valueTables::textPadding(), m_textControls);
    text->addWidget(m_textPaddingPopUp);
    m_fontWell = new ColorWell(editorTexts::fontColor, false, m_textControls);
    text->addWidget(m_fontWell);
    row->addWidget(m_textControls);
    auto* redaction = new RedactionBar(bar);
    row->addWidget(redaction);
    buildRedaction(redaction);
    row->addStretch(1);

    m_editImageButton = textButton(QStringLiteral("photo"), editorTexts::editImage, bar);
    row->addWidget(m_editImageButton);
    return bar;
}

QWidget* EditorWindowController::buildFooter() {
    auto* bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("footer"));
    QHBoxLayout* row = barLayout(bar, int(editorLayout::footerHeight));

    m_normalGroup = new QWidget(bar);
    auto* normal = new QHBoxLayout(m_normalGroup);
    normal->setContentsMargins(0, 0, 0, 0);
    m_discardButton = textButton(QStringLiteral("trash"), QStringLiteral("Discard"), bar);
    m_copyButton = textButton(QStringLiteral("copy"), QStringLiteral("Copy"), bar);
    m_copyButton->setToolTip(QStringLiteral("Copy the picture (Ctrl+Shift+C)"));
    m_saveButton = new SaveSplitButton(bar);
    m_saveButton->setIcon(
        editorIcon(QStringLiteral("save"), palette().color(QPalette::ButtonText)));
    m_saveButton->setTitle(saveModeTitle(m_services.settings.saveMode()));
    normal->addWidget(m_discardButton);
    normal->addWidget(m_copyButton);
    if (PinWindow::available()) {
        m_pinButton = textButton(QStringLiteral("pin"), QStringLiteral("Pin"), bar);
        m_pinButton->setToolTip(
            QStringLiteral("Pin the picture above other windows (Ctrl+Shift+P)"));
        normal->addWidget(m_pinButton);
    }
    normal->addWidget(m_saveButton);
    row->addWidget(m_normalGroup);

    m_visibilityToggle = iconButton(QStringLiteral("eye"), editorTexts::toggleAnnotations, bar);
    m_visibilityToggle->setAccessibleName(editorTexts::toggleAnnotationsAccessibility);
    m_visibilityToggle->setIconSize(QSize(14, 14));
    row->addWidget(m_visibilityToggle);

    m_imageEditGroup = buildImageEditGroup();
    row->addWidget(m_imageEditGroup);
    row->addStretch(1);
    m_assistantGroup = buildAssistantGroup();
    // The group takes the room there is, up to its prompt field's 280.
    row->addWidget(m_assistantGroup, 1);
    return bar;
}

QWidget* EditorWindowController::buildImageEditGroup() {
    auto* group = new QWidget(this);
    auto* row = new QHBoxLayout(group);
    row->setContentsMargins(0, 0, 0, 0);
    const std::pair<const char*, const char*> operations[] = {
        {"rotate-right", "Rotate Right 90°"},
        {"flip-horizontal", "Flip Horizontal"},
        {"flip-vertical", "Flip Vertical"},
        {"resize", "Resize…"},
        {"auto-enhance", "Auto-Enhance (tone + color)"},
        {"straighten", "Straighten Document"},
    };
    for (const auto& [icon, tip] : operations) {
        QToolButton* button = iconButton(QString::fromLatin1(icon), QString::fromUtf8(tip), group);
        button->setObjectName(QString::fromLatin1(icon));
        row->addWidget(button);
    }
    row->addSpacing(12);
    m_cancelEditButton = textButton(QString(), QStringLiteral("Cancel"), group);
    m_applyEditButton = textButton(QString(), QStringLiteral("Apply"), group);
    row->addWidget(m_cancelEditButton);
    row->addWidget(m_applyEditButton);
    group->hide();
    return group;
}

QWidget* EditorWindowController::buildAssistantGroup() {
    auto* group = new QWidget(this);
    auto* row = new QHBoxLayout(group);
    row->setContentsMargins(0, 0, 0, 0);
    m_providerButton = new AIProviderButton(group);
    m_providerButton->setTitle(providerTitle(m_services.settings.aiProvider()));
    m_providerButton->setToolTip(QStringLiteral("AI provider"));
    m_infoButton = iconButton(QStringLiteral("info"), QStringLiteral("AI tips"), group);
    m_promptField = new QLineEdit(group);
    m_promptField->setAccessibleName(QStringLiteral("Assistant request"));
    // About 280 wide, narrower before the footer would run out of the window.
    m_promptField->setFixedHeight(24);
    m_promptField->setMinimumWidth(120);
    m_promptField->setMaximumWidth(280);
    m_promptField->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // The field takes input once the app has told the window its state.
    m_promptField->setEnabled(false);
    for (QWidget* part :
         std::initializer_list<QWidget*>{m_providerButton, m_infoButton, m_promptField}) {
        row->addWidget(part);
    }
    return group;
}

void EditorWindowController::showToolButtons(const EditorControls& c) {
    for (auto& [tool, button] : m_toolButtons) {
        button->setChecked(tool == c.activeTool);
        button->setEnabled(c.toolButtonsEnabled);
        auto* fade = qobject_cast<QGraphicsOpacityEffect*>(button->graphicsEffect());
        if (c.toolButtonOpacity < 1) {
            if (!fade) {
                fade = new QGraphicsOpacityEffect(button);
                button->setGraphicsEffect(fade);
            }
            fade->setOpacity(c.toolButtonOpacity);
        } else if (fade) {
            button->setGraphicsEffect(nullptr);
        }
    }
    for (auto& [tool, chevron] : m_chevronButtons) {
        chevron->setEnabled(c.toolButtonsEnabled);
    }
}

void EditorWindowController::showTextControls(const EditorControls& c) {
    selectIndex(m_fontFamilyPopUp, c.fontFamilyIndex);
    selectIndex(m_fontSizePopUp, c.fontSizeIndex);
    selectIndex(m_textPaddingPopUp, c.textPaddingIndex);
    {
        const QSignalBlocker quietBold(m_boldButton);
        const QSignalBlocker quietItalic(m_italicButton);
        m_boldButton->setChecked(c.boldSegment);
        m_italicButton->setChecked(c.italicSegment);
        if (QAbstractButton* align = m_alignmentGroup->button(c.alignmentIndex)) {
            const QSignalBlocker quietAlign(align);
            align->setChecked(true);
        }
    }
    // The text controls come and go together, except that steps show only the size.
    m_textControls->setVisible(c.fontFamilyPopUp.visible || c.fontSizePopUp.visible);
    setState(m_fontFamilyPopUp, c.fontFamilyPopUp);
    setState(m_boldButton, c.fontStyleControl);
    setState(m_italicButton, c.fontStyleControl);
    setState(m_fontSizePopUp, c.fontSizePopUp);
    for (QAbstractButton* align : m_alignmentGroup->buttons()) {
        setState(align, c.alignmentControl);
    }
    setState(m_textPaddingPopUp, c.textPaddingPopUp);
    setState(m_fontWell, c.fontColorWell);
}

void EditorWindowController::showControls(const EditorControls& c) {
    m_showingControls = true;
    showToolButtons(c);
    m_strokeWell->setColor(c.strokeColor);
    m_fillWell->setColor(c.fillColor);
    m_fontWell->setColor(c.fontColor);
    setState(m_strokeWell, c.strokeWell);
    setState(m_fillWell, c.fillWell);
    selectIndex(m_opacityPopUp, c.opacityIndex);
    selectIndex(m_lineWidthPopUp, c.lineWidthIndex);
    selectIndex(m_linePatternPopUp, c.linePatternIndex);
    selectIndex(m_cornerRadiusPopUp, c.cornerRadiusIndex);
    setState(m_opacityPopUp, c.opacityPopUp);
    setState(m_lineWidthPopUp, c.lineWidthPopUp);
    setState(m_linePatternPopUp, c.linePatternPopUp);
    setState(m_cornerRadiusPopUp, c.cornerRadiusPopUp);
    m_zoomOutButton->setEnabled(c.zoomOutEnabled);
    m_zoomInButton->setEnabled(c.zoomInEnabled);
    m_imageDimsLabel->setText(c.imageSizeText);
    m_imageZoomLabel->setText(c.zoomText);
    m_selectedDimsGroup->setVisible(c.selectionGroupVisible);
    m_imageDimsGroup->setVisible(!c.selectionGroupVisible);
    m_selectedPosLabel->setText(c.selectedPositionText);
    m_selectedSizeLabel->setText(c.selectedSizeText);

    showTextControls(c);
    setState(m_editImageButton, c.editImageButton);

    m_normalGroup->setVisible(c.normalFooterVisible);
    m_imageEditGroup->setVisible(c.imageEditFooterVisible);
    // Redaction belongs to the image-edit session: its marks go when the session ends.
    if (!c.imageEditFooterVisible && m_redactionMarks->isActive()) {
        endRedaction();
    }
    m_redactionBar->setVisible(c.imageEditFooterVisible);
    m_assistantGroup->setVisible(c.aiInputVisible);
    setState(m_visibilityToggle, c.visibilityToggle);
    const QPalette::ColorRole tint = c.visibilityToggleTint == ToggleTint::label
                                         ? QPalette::ButtonText
                                         : QPalette::PlaceholderText;
    m_visibilityToggle->setIcon(editorIcon(
        c.showsAnnotations ? QStringLiteral("eye") : QStringLiteral("eye-slash"),
        palette().color(c.visibilityToggle.enabled ? QPalette::Active : QPalette::Disabled, tint)));
    m_showingControls = false;
}

void EditorWindowController::showPromptFieldState(const PromptFieldState& state) {
    m_promptState = state;
    // A running request keeps the field until it ends; it then takes this state.
    m_promptField->setEnabled(state.enabled && !(m_aiFlow && m_aiFlow->isRunning()));
    m_promptField->setPlaceholderText(state.placeholder);
}

} // namespace vellumix
