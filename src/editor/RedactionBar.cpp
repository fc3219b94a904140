#include "RedactionBar.h"

#include "ColorWell.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

namespace vellumix {

RedactionBar::RedactionBar(QWidget* parent) : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);

    m_mode = new QToolButton(this);
    m_mode->setText(QStringLiteral("Redact"));
    m_mode->setCheckable(true);
    m_mode->setToolTip(
        QStringLiteral("Drag over what to hide; click a marked area to switch it off or on"));
    m_mode->setAccessibleName(QStringLiteral("Redact"));
    m_mode->setFocusPolicy(Qt::TabFocus);
    row->addWidget(m_mode);

    m_styles = new QButtonGroup(this);
    m_styles->setExclusive(true);
    const std::pair<imageops::RedactionStyle, const char*> styles[] = {
        {imageops::RedactionStyle::fill, "Fill"},
        {imageops::RedactionStyle::pixelate, "Pixelate"},
    };
    for (const auto& [style, title] : styles) {
        auto* button = new QToolButton(this);
        button->setText(QString::fromLatin1(title));
        button->setCheckable(true);
        button->setAccessibleName(QString::fromLatin1(title));
        button->setFocusPolicy(Qt::TabFocus);
        m_styles->addButton(button, int(style));
        row->addWidget(button);
    }
    m_fill = new ColorWell(QStringLiteral("Redaction colour"), false, this);
    row->addWidget(m_fill);

    m_find = new QToolButton(this);
    m_find->setText(QStringLiteral("Find Sensitive Text"));
    m_find->setToolTip(QStringLiteral("Mark e-mail addresses, keys, tokens, card and phone "
                                      "numbers found in the picture"));
    m_find->setAccessibleName(m_find->text());
    m_find->setFocusPolicy(Qt::TabFocus);
    row->addWidget(m_find);

    m_status = new QLabel(this);
    m_status->setForegroundRole(QPalette::PlaceholderText);
    row->addWidget(m_status);

    connect(m_mode, &QToolButton::toggled, this, [this](bool on) {
        enableControls(on);
        if (onModeToggled) {
            onModeToggled(on);
        }
    });
    connect(m_styles, &QButtonGroup::idClicked, this, [this](int id) {
        m_fill->setEnabled(m_mode->isChecked() && id == int(imageops::RedactionStyle::fill));
        if (onStyleChanged) {
            onStyleChanged(imageops::RedactionStyle(id));
        }
    });
    m_fill->onColorChanged = [this](const Color& color) {
        if (onFillChanged) {
            onFillChanged(color);
        }
    };
    connect(m_find, &QToolButton::clicked, this, [this] {
        if (onFindSensitiveText) {
            onFindSensitiveText();
        }
    });
    showMode(false, imageops::RedactionStyle::fill, Color::black());
}

QToolButton* RedactionBar::styleButton(imageops::RedactionStyle style) const {
    return qobject_cast<QToolButton*>(m_styles->button(int(style)));
}

void RedactionBar::showMode(bool active, imageops::RedactionStyle style, const Color& fill) {
    {
        const QSignalBlocker quiet(m_mode);
        m_mode->setChecked(active);
    }
    if (QAbstractButton* button = m_styles->button(int(style))) {
        button->setChecked(true);
    }
    m_fill->setColor(fill);
    enableControls(active);
}

void RedactionBar::enableControls(bool active) {
    for (QAbstractButton* button : m_styles->buttons()) {
        button->setEnabled(active);
    }
    m_fill->setEnabled(active && m_styles->checkedId() == int(imageops::RedactionStyle::fill));
    m_find->setEnabled(active);
    if (!active) {
        m_status->clear();
    }
}

void RedactionBar::showStatus(const QString& text) {
    m_status->setText(text);
}

QString RedactionBar::statusText() const {
    return m_status->text();
}

} // namespace vellumix
