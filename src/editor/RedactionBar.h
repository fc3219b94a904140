#pragma once

#include "imaging/Redaction.h"
#include "model/Color.h"

#include <QWidget>

#include <functional>

class QButtonGroup;
class QLabel;
class QToolButton;

namespace vellumix {

class ColorWell;

/// The image-edit session's redaction controls in the second bar: the Redact mode switch, the
/// style (a solid colour or pixels), the fill colour, "Find Sensitive Text" and a count of what
/// Apply will hide.
class RedactionBar final : public QWidget {
    Q_OBJECT

public:
    explicit RedactionBar(QWidget* parent);

    /// Shows the mode without calling back.
    void showMode(bool active, imageops::RedactionStyle style, const Color& fill);
    /// "3 areas", "Looking for sensitive text…", "No sensitive text found".
    void showStatus(const QString& text);
    QString statusText() const;

    std::function<void(bool)> onModeToggled;
    std::function<void(imageops::RedactionStyle)> onStyleChanged;
    std::function<void(const Color&)> onFillChanged;
    std::function<void()> onFindSensitiveText;

    QToolButton* modeButton() const { return m_mode; }
    QToolButton* findButton() const { return m_find; }
    QToolButton* styleButton(imageops::RedactionStyle style) const;

private:
    void enableControls(bool active);

    QToolButton* m_mode = nullptr;
    QButtonGroup* m_styles = nullptr;
    ColorWell* m_fill = nullptr;
    QToolButton* m_find = nullptr;
    QLabel* m_status = nullptr;
};

} // namespace vellumix
