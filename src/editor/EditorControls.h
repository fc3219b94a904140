#pragma once

#include "model/Color.h"
#include "model/Enums.h"

#include <QString>

namespace vellumix {

/// The style attributes a tool's controls edit.
struct StyleControlSet {
    bool strokeColor = false;
    bool fillColor = false;
    bool opacity = false;
    bool lineWidth = false;
    bool linePattern = false;
    bool cornerRadius = false;
    /// Font family, font style, font size, alignment, text padding and font colour.
    bool text = false;
    /// The font size alone (steps size their circle by it).
    bool fontSize = false;

    StyleControlSet& operator|=(const StyleControlSet& other);
    friend bool operator==(const StyleControlSet&, const StyleControlSet&) = default;
};

/// Which controls apply to a tool, and through `toolFor` to an annotation of each kind:
///
/// | tool                     | stroke | fill | opacity | width | pattern | radius | text |
/// |--------------------------|--------|------|---------|-------|---------|--------|------|
/// | rect                     | yes    | yes  | yes     | yes   | yes     | yes    |      |
/// | oval                     | yes    | yes  | yes     | yes   | yes     |        |      |
/// | arrow                    | yes    |      | yes     | yes   |         |        |      |
/// | draw                     | yes    |      | yes     | yes   | yes     |        |      |
/// | text                     | yes    | yes  | yes     | yes   | yes     | yes    | yes  |
/// | step                     | yes    | yes  | yes     |       |         |        | size |
/// | select, nothing selected | yes    | yes  | yes     | yes   | yes     | yes    |      |
/// | editImage, overlay       |        |      |         |       |         |        |      |
///
/// An arrow has no fill, pattern or corners; an oval no corners; a stroke no fill; a step is
/// filled with the fill colour (the stroke colour when the fill is none) and sized by the font
/// size, the only text control it shows. In the
/// select tool the controls of the selected annotations' tools apply (their union); with
/// nothing selected the shape controls stay usable, since their values carry over to the next
/// tool when styles are not retained per tool. The toolbar's shape controls stay in place and
/// are disabled where they do not apply; the second bar's text controls are shown only where
/// they apply.
StyleControlSet styleControlsFor(Tool tool);

/// A widget's state as the window shows it.
struct ControlState {
    bool visible = true;
    bool enabled = true;
    friend bool operator==(const ControlState&, const ControlState&) = default;
};

/// The tint of the annotation-visibility toggle, named after the desktop's label colours.
enum class ToggleTint { label, tertiaryLabel, quaternaryLabel };

/// Everything the editor window shows, as plain values: the window copies these into its
/// widgets and decides nothing itself.
struct EditorControls {
    Tool activeTool = Tool::rect;

    // --- Toolbar --------------------------------------------------------------------------
    bool toolButtonsEnabled = true;
    /// Drawing opacity of the tool buttons (dimmed while annotations are hidden).
    double toolButtonOpacity = 1;
    /// Well colours: opaque, or clear for none (the opacity pop-up carries the alpha).
    Color strokeColor;
    Color fillColor;
    ControlState strokeWell;
    ControlState fillWell;
    /// Selected pop-up entries; -1 selects none.
    int opacityIndex = -1;
    int lineWidthIndex = -1;
    int linePatternIndex = -1;
    int cornerRadiusIndex = -1;
    ControlState opacityPopUp;
    ControlState lineWidthPopUp;
    ControlState linePatternPopUp;
    ControlState cornerRadiusPopUp;

    bool zoomOutEnabled = true;
    bool zoomInEnabled = true;
    /// "W × H px" and "N%".
    QString imageSizeText;
    QString zoomText;
    bool selectionGroupVisible = false;
    /// "x: X, y: Y" and "W × H px" of the single selected (or in-progress) annotation.
    QString selectedPositionText;
    QString selectedSizeText;

    // --- Second bar -----------------------------------------------------------------------
    int fontFamilyIndex = -1;
    int fontSizeIndex = -1;
    int textPaddingIndex = -1;
    /// The font style segments "Bold" and "Italic".
    bool boldSegment = false;
    bool italicSegment = false;
    /// The alignment segment, in `TextAlignment` order.
    int alignmentIndex = 0;
    Color fontColor;
    ControlState fontFamilyPopUp;
    ControlState fontStyleControl;
    ControlState fontSizePopUp;
    ControlState alignmentControl;
    ControlState textPaddingPopUp;
    ControlState fontColorWell;
    ControlState editImageButton;

    // --- Footer ---------------------------------------------------------------------------
    bool normalFooterVisible = true;
    bool imageEditFooterVisible = false;
    bool aiInputVisible = true;
    ControlState visibilityToggle;
    /// Which symbol the toggle shows: annotations shown or hidden.
    bool showsAnnotations = true;
    ToggleTint visibilityToggleTint = ToggleTint::label;

    friend bool operator==(const EditorControls&, const EditorControls&) = default;
};

} // namespace vellumix
