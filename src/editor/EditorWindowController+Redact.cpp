#include "AnalysisCache.h"
#include "EditorModel.h"
#include "EditorWindowController.h"
#include "RedactionBar.h"
#include "RedactionMarks.h"
#include "ai/SensitiveText.h"
#include "canvas/AnnotationCanvasView.h"
#include "model/AnnotationGeometry.h"

#include <QPointer>
#include <QToolButton>

namespace vellumix {

namespace {

QString areaCount(int count) {
    return count == 1 ? QStringLiteral("1 area") : QStringLiteral("%1 areas").arg(count);
}

} // namespace

void EditorWindowController::buildRedaction(RedactionBar* bar) {
    m_redactionBar = bar;
    m_redactionMarks = std::make_unique<RedactionMarks>();
    m_canvas->document().gestureLayer = m_redactionMarks.get();
    m_redactionMarks->onChanged = [this] {
        m_canvas->update();
        showRedactionCount();
    };
    bar->onModeToggled = [this](bool on) { setRedactMode(on); };
    bar->onStyleChanged = [this](imageops::RedactionStyle style) {
        m_redactionMarks->setStyle(style);
    };
    bar->onFillChanged = [this](const Color& color) { m_redactionMarks->setFillColor(color); };
    bar->onFindSensitiveText = [this] { markSensitiveText(allSensitiveKinds, {}); };
}

RedactionMarks& EditorWindowController::redactionMarks() const {
    return *m_redactionMarks;
}

void EditorWindowController::setRedactMode(bool on) {
    RedactionMarks& marks = *m_redactionMarks;
    if (on && m_model->activeTool() != Tool::editImage) {
        selectTool(Tool::editImage);
    }
    const bool starting = on && !marks.isActive();
    marks.setActive(on);
    if (starting) {
        followSessionImage();
    }
    m_redactionBar->showMode(on, marks.style(), marks.fillColor());
    showRedactionCount();
}

void EditorWindowController::followSessionImage() {
    m_redactionMarks->setImage(currentImage(), geometry::imageOrigin());
    // The pixelation's blocks follow the text lines: the analysis starts now, off the main
    // thread, and is usually there before the first mark is applied.
    const qint64 picture = currentImage().cacheKey();
    QPointer<EditorWindowController> self(this);
    m_visionAnalysis->request([self, picture](const VisionAnalysis& analysis) {
        if (self && self->m_redactionMarks->isActive() &&
            self->currentImage().cacheKey() == picture) {
            self->m_redactionMarks->setTextLines(lineRects(analysis));
        }
    });
}

void EditorWindowController::endRedaction() {
    if (!m_redactionMarks) {
        return;
    }
    m_redactionMarks->clear();
    m_redactionMarks->setActive(false);
    m_redactionBar->showMode(false, m_redactionMarks->style(), m_redactionMarks->fillColor());
}

void EditorWindowController::showRedactionCount() {
    if (!m_redactionMarks->isActive() || m_findingSensitiveText) {
        return;
    }
    const int count = m_redactionMarks->enabledCount();
    m_redactionBar->showStatus(count == 0 ? QString() : areaCount(count));
}

void EditorWindowController::markSensitiveText(SensitiveKinds kinds,
                                               std::function<void(int)> done) {
    setRedactMode(true);
    m_findingSensitiveText = true;
    m_redactionBar->showStatus(QStringLiteral("Looking for sensitive text…"));
    m_redactionBar->findButton()->setEnabled(false);
    const QImage searched = currentImage();
    QPointer<EditorWindowController> self(this);
    m_visionAnalysis->request([self, kinds, searched, done](const VisionAnalysis& analysis) {
        if (!self) {
            return;
        }
        self->m_findingSensitiveText = false;
        RedactionMarks& marks = *self->m_redactionMarks;
        // The session may have ended, or the picture turned, while the analysis ran.
        if (!marks.isActive() || self->currentImage().cacheKey() != searched.cacheKey()) {
            if (done) {
                done(0);
            }
            return;
        }
        self->m_redactionBar->findButton()->setEnabled(true);
        std::vector<RedactionMark> proposals;
        const std::vector<QRectF> lines = lineRects(analysis);
        for (const SensitiveMatch& match : vellumix::findSensitiveText(analysis, kinds)) {
            proposals.push_back(
                {geometry::toCanvas(redactionAreaFor(match.rect, searched.size(), lines)), true,
                 sensitiveKindName(match.kind)});
        }
        const int found = int(proposals.size());
        marks.setProposals(std::move(proposals));
        if (found == 0) {
            self->m_redactionBar->showStatus(QStringLiteral("No sensitive text found"));
        } else {
            self->showRedactionCount();
        }
        if (done) {
            done(found);
        }
    });
}

std::optional<QImage> EditorWindowController::redactedSessionImage() const {
    const auto areas = m_redactionMarks->areas();
    if (areas.empty()) {
        return std::nullopt;
    }
    return imageops::redact(currentImage(), areas, m_redactionMarks->fillColor(),
                            m_redactionMarks->blockGuides());
}

} // namespace vellumix
