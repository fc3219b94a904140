#pragma once

#include "model/Enums.h"

#include <QString>

#include <array>
#include <optional>
#include <vector>

namespace vellumix {

/// One pop-up entry: the title shown and the value it stands for.
template <class V> struct ValueEntry {
    QString title;
    V value;
};

/// The entries of one style pop-up in menu order, with the pop-up's tool tip.
template <class V> struct ValueTable {
    QString toolTip;
    std::vector<ValueEntry<V>> entries;

    /// The value at a pop-up index; none for an index outside the table.
    std::optional<V> valueAt(int index) const {
        if (index < 0 || static_cast<size_t>(index) >= entries.size()) {
            return std::nullopt;
        }
        return entries[static_cast<size_t>(index)].value;
    }
};

/// The editor's style pop-ups.
namespace valueTables {
const ValueTable<double>& opacity();
const ValueTable<double>& lineWidth();
const ValueTable<LineStyle>& linePattern();
const ValueTable<double>& cornerRadius();
/// The title is the value.
const ValueTable<QString>& fontFamily();
const ValueTable<double>& fontSize();
const ValueTable<double>& textPadding();
} // namespace valueTables

/// The entry whose value is nearest (smallest absolute difference, the earlier entry on a tie);
/// -1 for an empty table.
int nearestIndex(const ValueTable<double>& table, double value);
/// The line pattern pop-up's entry of the pattern.
int linePatternIndex(LineStyle lineStyle);
/// The font family pop-up's entry titled `family`; -1 when no entry has that title.
int fontFamilyIndex(const QString& family);

/// Fixed texts of the toolbar, the second bar and the footer.
namespace editorTexts {
/// Tool tip of a tool button ("Select (s)" …); empty for tools without a button.
QString toolButtonToolTip(Tool tool);
/// The seven tool buttons, left to right.
inline constexpr std::array<Tool, 7> toolButtons{Tool::select, Tool::rect, Tool::oval, Tool::arrow,
                                                 Tool::draw,   Tool::text, Tool::step};
inline const QString strokeColor = QStringLiteral("Stroke color");
inline const QString fillColor = QStringLiteral("Fill color");
inline const QString fontColor = QStringLiteral("Font color");
inline const QString fontStyle = QStringLiteral("Font style");
inline const QString bold = QStringLiteral("Bold");
inline const QString italic = QStringLiteral("Italic");
inline const QString textAlignment = QStringLiteral("Text alignment");
/// The alignment segments in the order of `TextAlignment`.
inline const std::array<QString, 3> alignmentSegments{
    QStringLiteral("Align left"), QStringLiteral("Align center"), QStringLiteral("Align right")};
inline const QString zoomIn = QStringLiteral("Zoom In");
inline const QString zoomOut = QStringLiteral("Zoom Out");
inline const QString editImage = QStringLiteral("Edit image…");
inline const QString toggleAnnotations = QStringLiteral("Show / hide annotations");
inline const QString toggleAnnotationsAccessibility = QStringLiteral("Toggle annotations");
} // namespace editorTexts

} // namespace vellumix
