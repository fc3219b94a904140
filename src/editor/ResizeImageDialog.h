#pragma once

#include "imaging/ResizeRules.h"

#include <QDialog>
#include <QSize>

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;

namespace vellumix {

/// The "Resize Image" window: width and height in whole pixels, linked through an aspect lock
/// while it is on, with the reduced ratio shown below. Not modal, so the editor stays usable.
/// OK (Return) with two sizes in 1...65535 reports the size through onApply and closes; Cancel
/// (Escape) closes without it. The owner decides the lifetime (deleteLater from onClose, or
/// Qt::WA_DeleteOnClose); neither callback may delete the dialog directly.
class ResizeImageDialog final : public QDialog {
public:
    static constexpr QSize windowSize{280, 220};

    explicit ResizeImageDialog(QSize currentSize, QWidget* parent = nullptr);

    /// Called on OK with the new size (both sides positive), just before the dialog closes.
    std::function<void(QSize)> onApply;
    /// Called whenever the dialog closes: OK, Cancel, Escape or the window's close button.
    std::function<void()> onClose;

    QSize currentSize() const { return m_currentSize; }
    bool isAspectLocked() const { return m_lock.locked; }
    double lockedRatio() const { return m_lock.ratio; }

    QLabel* headingLabel() const { return m_heading; }
    QLineEdit* widthField() const { return m_width; }
    QLineEdit* heightField() const { return m_height; }
    QToolButton* lockButton() const { return m_lockButton; }
    QLabel* aspectRatioLabel() const { return m_ratioLabel; }
    QPushButton* cancelButton() const { return m_cancel; }
    QPushButton* okButton() const { return m_ok; }

    void accept() override;
    void done(int result) override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void buildLayout();
    void widthEdited();
    void heightEdited();
    void toggleLock();
    void refreshLockButton();
    void refreshRatioLabel();

    QSize m_currentSize;
    resizerules::AspectLock m_lock;
    QLabel* m_heading;
    QLineEdit* m_width;
    QLineEdit* m_height;
    QToolButton* m_lockButton;
    QLabel* m_ratioLabel;
    QPushButton* m_cancel;
    QPushButton* m_ok;
};

} // namespace vellumix
