#include "EditorValueTables.h"

#include <cmath>

namespace vellumix {

namespace {

ValueTable<double> numbers(const QString& toolTip,
                           std::initializer_list<std::pair<const char*, double>> entries) {
    ValueTable<double> table{toolTip, {}};
    for (const auto& [title, value] : entries) {
        table.entries.push_back({QString::fromUtf8(title), value});
    }
    return table;
}

} // namespace

namespace valueTables {

const ValueTable<double>& opacity() {
    static const auto table = numbers(QStringLiteral("Opacity"),
                                      {{"25%", 0.25}, {"50%", 0.5}, {"75%", 0.75}, {"100%", 1.0}});
    return table;
}

const ValueTable<double>& lineWidth() {
    static const auto table = numbers(QStringLiteral("Line width"),
                                      {{"S", 2}, {"M", 4}, {"L", 8}, {"XL", 16}, {"XXL", 24}});
    return table;
}

const ValueTable<LineStyle>& linePattern() {
    static const ValueTable<LineStyle> table{QStringLiteral("Line pattern"),
                                             {{QStringLiteral("Solid"), LineStyle::solid},
                                              {QStringLiteral("Dotted"), LineStyle::dotted},
                                              {QStringLiteral("Dashed"), LineStyle::dashed},
                                              {QStringLiteral("Dash-dot"), LineStyle::dashDot}}};
    return table;
}

const ValueTable<double>& cornerRadius() {
    static const auto table = numbers(QStringLiteral("Corner radius"),
                                      {{"⌀ None", 0}, {"⌀ S", 6}, {"⌀ M", 16}, {"⌀ L", 26}});
    return table;
}

const ValueTable<QString>& fontFamily() {
    static const ValueTable<QString> table = [] {
        ValueTable<QString> t{QStringLiteral("Font family"), {}};
        for (const char* family :
             {"System", "Avenir", "Baskerville", "Courier New", "DIN Alternate", "Futura",
              "Gill Sans", "Helvetica Neue", "Marker Felt", "Menlo", "Optima", "Palatino"}) {
            t.entries.push_back({QString::fromUtf8(family), QString::fromUtf8(family)});
        }
        return t;
    }();
    return table;
}

const ValueTable<double>& fontSize() {
    static const auto table = numbers(
        QStringLiteral("Font size"),
        {{"12", 12}, {"14", 14}, {"16", 16}, {"18", 18}, {"24", 24}, {"32", 32}, {"48", 48}});
    return table;
}

const ValueTable<double>& textPadding() {
    static const auto table =
        numbers(QStringLiteral("Text padding"), {{"None", 0}, {"S", 6}, {"M", 12}, {"L", 24}});
    return table;
}

} // namespace valueTables

int nearestIndex(const ValueTable<double>& table, double value) {
    int best = -1;
    double bestDistance = 0;
    for (size_t i = 0; i < table.entries.size(); ++i) {
        const double distance = std::abs(table.entries[i].value - value);
        // Strictly smaller only, so a tie keeps the earlier entry.
        if (best < 0 || distance < bestDistance) {
            best = static_cast<int>(i);
            bestDistance = distance;
        }
    }
    return best;
}

int linePatternIndex(LineStyle lineStyle) {
    const auto& entries = valueTables::linePattern().entries;
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].value == lineStyle) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

int fontFamilyIndex(const QString& family) {
    const auto& entries = valueTables::fontFamily().entries;
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].title == family) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

namespace editorTexts {

QString toolButtonToolTip(Tool tool) {
    switch (tool) {
    case Tool::select:
        return QStringLiteral("Select (s)");
    case Tool::rect:
        return QStringLiteral("Rectangle (r)");
    case Tool::oval:
        return QStringLiteral("Oval (o)");
    case Tool::arrow:
        return QStringLiteral("Arrow (a)");
    case Tool::draw:
        return QStringLiteral("Draw (d)");
    case Tool::text:
        return QStringLiteral("Text (t)");
    case Tool::step:
        return QStringLiteral("Step");
    case Tool::editImage:
    case Tool::overlay:
        break;
    }
    return {};
}

} // namespace editorTexts

} // namespace vellumix
