#include "ResizeImageDialog.h"

#include <QApplication>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace vellumix {

namespace {

constexpr int largestSide = 65535;
constexpr int headingPixelSize = 13;
constexpr int fieldWidth = 90;
constexpr int lockIconSide = 16;
// The bracket linking the fields: its arms' length, and the air it leaves around them.
constexpr int bracketReach = 4;
constexpr int bracketGap = 3;

// Two chain links across the diagonal, for desktops whose icon theme has no "insert-link".
QPixmap drawnLink(int side, const QColor& color) {
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / 16.0, side / 16.0);
    painter.translate(8, 8);
    painter.rotate(-45);
    painter.setPen(QPen(color, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(-7.5, -2.75, 9, 5.5), 2.75, 2.75);
    painter.drawRoundedRect(QRectF(-1.5, -2.75, 9, 5.5), 2.75, 2.75);
    return pixmap;
}

QIcon linkIcon(const QColor& color) {
    QIcon drawn;
    drawn.addPixmap(drawnLink(lockIconSide, color));
    drawn.addPixmap(drawnLink(2 * lockIconSide, color));
    return QIcon::fromTheme(QStringLiteral("insert-link"), drawn);
}

QLineEdit* sizeField(int value, QWidget* parent) {
    auto* field = new QLineEdit(QString::number(value), parent);
    field->setValidator(new QIntValidator(1, largestSide, field));
    field->setAlignment(Qt::AlignRight);
    field->setFixedWidth(fieldWidth);
    return field;
}

} // namespace

ResizeImageDialog::ResizeImageDialog(QSize currentSize, QWidget* parent)
    : QDialog(parent)
    , m_currentSize(currentSize)
    , m_lock(resizerules::AspectLock::forSize(currentSize))
    , m_heading(new QLabel(QStringLiteral("Resize Image"), this))
    , m_width(sizeField(currentSize.width(), this))
    , m_height(sizeField(currentSize.height(), this))
    , m_lockButton(new QToolButton(this))
    , m_ratioLabel(new QLabel(this))
    , m_cancel(new QPushButton(QStringLiteral("Cancel"), this))
    , m_ok(new QPushButton(QStringLiteral("OK"), this)) {
    setWindowTitle(QStringLiteral("Resize Image"));
    setModal(false);
    setFixedSize(windowSize);
    buildLayout();

    QFont headingFont = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    headingFont.setBold(true);
    headingFont.setPixelSize(headingPixelSize);
    m_heading->setFont(headingFont);

    m_lockButton->setCheckable(true);
    m_lockButton->setAutoRaise(true);
    m_lockButton->setIcon(linkIcon(palette().color(QPalette::ButtonText)));
    m_lockButton->setIconSize(QSize(lockIconSide, lockIconSide));
    m_lockButton->setAccessibleName(QStringLiteral("Aspect ratio lock"));
    m_ok->setDefault(true);

    connect(m_width, &QLineEdit::textEdited, this, [this] { widthEdited(); });
    connect(m_height, &QLineEdit::textEdited, this, [this] { heightEdited(); });
    connect(m_lockButton, &QToolButton::clicked, this, [this] { toggleLock(); });
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);

    refreshLockButton();
    refreshRatioLabel();
    // Opens ready to type a new width over the old one.
    m_width->setFocus();
    m_width->selectAll();
}

void ResizeImageDialog::buildLayout() {
    auto* widthLabel = new QLabel(QStringLiteral("Width:"), this);
    auto* heightLabel = new QLabel(QStringLiteral("Height:"), this);
    widthLabel->setBuddy(m_width);
    heightLabel->setBuddy(m_height);
    m_ratioLabel->setForegroundRole(QPalette::PlaceholderText);
    // Spans the field's width, so a longer ratio never waits for a relayout to fit.
    m_ratioLabel->setAlignment(Qt::AlignHCenter);

    // Centred: stretch columns either side of labels, fields and the lock.
    auto* fields = new QGridLayout;
    fields->setHorizontalSpacing(8);
    fields->setVerticalSpacing(8);
    fields->setColumnStretch(0, 1);
    fields->addWidget(widthLabel, 0, 1, Qt::AlignRight);
    fields->addWidget(m_width, 0, 2);
    fields->addWidget(heightLabel, 1, 1, Qt::AlignRight);
    fields->addWidget(m_height, 1, 2);
    // The lock sits between the two rows it links, with room for the bracket drawn to it.
    fields->setColumnMinimumWidth(3, 2 * bracketGap + bracketReach + 4);
    fields->addWidget(m_lockButton, 0, 4, 2, 1, Qt::AlignVCenter);
    fields->addWidget(m_ratioLabel, 2, 2);
    fields->setColumnStretch(5, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_cancel);
    buttons->addWidget(m_ok);

    auto* content = new QVBoxLayout(this);
    content->setContentsMargins(20, 16, 20, 16);
    content->setSpacing(12);
    content->addWidget(m_heading);
    content->addLayout(fields);
    content->addStretch(1);
    content->addLayout(buttons);

    setTabOrder(m_width, m_height);
    setTabOrder(m_height, m_lockButton);
    setTabOrder(m_lockButton, m_cancel);
    setTabOrder(m_cancel, m_ok);
}

void ResizeImageDialog::paintEvent(QPaintEvent* event) {
    QDialog::paintEvent(event);
    if (!m_lock.locked) {
        return;
    }
    // A bracket joining the two fields, with a tick to the lock, shows that they move together.
    QPainter painter(this);
    painter.setPen(QPen(palette().color(QPalette::Mid), 1));
    const double start = m_width->geometry().right() + 1 + bracketGap + 0.5;
    const double spine = start + bracketReach;
    const double top = m_width->geometry().center().y() + 0.5;
    const double bottom = m_height->geometry().center().y() + 0.5;
    const double middle = m_lockButton->geometry().center().y() + 0.5;
    QPainterPath bracket(QPointF(start, top));
    bracket.lineTo(spine, top);
    bracket.lineTo(spine, bottom);
    bracket.lineTo(start, bottom);
    bracket.moveTo(spine, middle);
    bracket.lineTo(m_lockButton->geometry().left() - bracketGap + 0.5, middle);
    painter.drawPath(bracket);
}

void ResizeImageDialog::widthEdited() {
    if (const auto height = m_lock.heightForWidth(resizerules::parseDimension(m_width->text()))) {
        m_height->setText(QString::number(*height));
    }
    refreshRatioLabel();
}

void ResizeImageDialog::heightEdited() {
    if (const auto width = m_lock.widthForHeight(resizerules::parseDimension(m_height->text()))) {
        m_width->setText(QString::number(*width));
    }
    refreshRatioLabel();
}

void ResizeImageDialog::toggleLock() {
    m_lock.toggle(resizerules::parseDimension(m_width->text()),
                  resizerules::parseDimension(m_height->text()));
    refreshLockButton();
}

void ResizeImageDialog::refreshLockButton() {
    m_lockButton->setChecked(m_lock.locked);
    m_lockButton->setToolTip(m_lock.toolTip());
    update();
}

void ResizeImageDialog::refreshRatioLabel() {
    m_ratioLabel->setText(
        resizerules::aspectRatioLabel(resizerules::parseDimension(m_width->text()),
                                      resizerules::parseDimension(m_height->text())));
}

void ResizeImageDialog::accept() {
    // A linked side can fall outside what the fields accept (0, or above the largest side).
    if (!m_width->hasAcceptableInput() || !m_height->hasAcceptableInput()) {
        QApplication::beep();
        return;
    }
    const QSize size(m_width->text().toInt(), m_height->text().toInt());
    if (onApply) {
        onApply(size);
    }
    QDialog::accept();
}

void ResizeImageDialog::done(int result) {
    QDialog::done(result);
    if (onClose) {
        onClose();
    }
}

} // namespace vellumix
