#include "AIOverlayView.h"
#include "AnalysisCache.h"
#include "CenteringClipView.h"
#include "EditorWindowController.h"
#include "SplitButtons.h"
#include "ai/AIRequestFlow.h"
#include "ai/ConsoleText.h"
#include "ai/RequestTexts.h"
#include "canvas/AnnotationCanvasView.h"
#include "filters/ImageFilters.h"
#include "library/Settings.h"
#include "model/Fonts.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>

namespace vellumix {

namespace {

AssistantServices& installedServices() {
    static AssistantServices services;
    return services;
}

const QtFontCatalogue& fontCatalogue() {
    static const QtFontCatalogue fonts;
    return fonts;
}

// Hands the prompt field's Up, Down and Escape to the editor before the field sees them.
class PromptKeys final : public QObject {
public:
    PromptKeys(QObject* parent, std::function<bool(int)> handle)
        : QObject(parent), m_handle(std::move(handle)) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            const auto* key = static_cast<QKeyEvent*>(event);
            if (key->modifiers() == Qt::NoModifier || key->modifiers() == Qt::KeypadModifier) {
                if (m_handle(key->key())) {
                    return true;
                }
            }
        }
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<bool(int)> m_handle;
};

} // namespace

void EditorWindowController::setAssistantServices(AssistantServices services) {
    installedServices() = std::move(services);
}

void EditorWindowController::buildAssistant() {
    m_promptHistory = std::make_unique<PromptHistoryBrowser>();
    m_aiOverlay = new AIOverlayView(m_scrollView);

    AIRequestHost host = canvasRequestHost(
        [this]() -> CanvasDocument* { return m_closed ? nullptr : &m_canvas->document(); },
        filters::applyFilter);
    host.analysis = [this](std::function<void(const VisionAnalysis&)> receiver) {
        m_visionAnalysis->request(std::move(receiver));
    };
    // Redaction requests open the proposals for the user to check; nothing is hidden until Apply.
    host.redactSensitiveText = [this](SensitiveKinds kinds, std::function<void(int, bool)> done) {
        markSensitiveText(kinds, [done](int count) { done(count, false); });
    };
    AIRequestListener listener;
    listener.status = [this](const QString& text) { m_aiOverlay->setStatus(text); };
    listener.meta = [this](const QString& markdown) { m_aiOverlay->setMeta(markdown); };
    listener.response = [this](const QString& markdown) { m_aiOverlay->setResponse(markdown); };
    listener.failed = [this](const QString& message) { m_aiOverlay->showFailure(message); };
    listener.finished = [this](bool emptyField) { aiRequestFinished(emptyField); };
    const AssistantServices& services = installedServices();
    m_aiFlow = std::make_unique<AIRequestFlow>(AIRequestFlow::Clients{services.gemini,
                                                                      services.localModel,
                                                                      &fontCatalogue(),
                                                                      {},
                                                                      console::showsContextText()},
                                               std::move(host), std::move(listener));

    m_providerButton->setEnabled(true);
    m_providerButton->onClick = [this] { showAIProviderMenu(); };
    m_infoButton->setEnabled(true);
    connect(m_infoButton, &QToolButton::clicked, this, &EditorWindowController::showAIProviderTips);
    connect(m_promptField, &QLineEdit::returnPressed, this, &EditorWindowController::submitAIQuery);
    // Only the user's edits end history browsing; the editor's own setText does not.
    connect(m_promptField, &QLineEdit::textEdited, this,
            [this] { m_promptHistory->fieldEdited(); });
    m_promptField->installEventFilter(
        new PromptKeys(m_promptField, [this](int key) { return promptFieldKey(key); }));
}

bool EditorWindowController::promptFieldKey(int key) {
    switch (key) {
    case Qt::Key_Up:
        stepPromptHistory(-1);
        return true;
    case Qt::Key_Down:
        stepPromptHistory(+1);
        return true;
    case Qt::Key_Escape:
        if (!m_aiOverlay->isVisible()) {
            return false;
        }
        m_aiOverlay->close();
        return true;
    default:
        return false;
    }
}

void EditorWindowController::promptBeep() {
    if (onBeep) {
        onBeep();
    } else {
        QApplication::beep();
    }
}

void EditorWindowController::stepPromptHistory(int direction) {
    const auto step = m_promptHistory->step(direction, m_services.settings.promptHistory(),
                                            m_promptField->text());
    if (step.beep) {
        promptBeep();
    }
    if (step.text) {
        m_promptField->setText(*step.text);
        m_promptField->end(false);
    }
}

void EditorWindowController::submitAIQuery() {
    const QString query = m_promptField->text().trimmed();
    if (query.isEmpty() || !m_promptField->isEnabled()) {
        return;
    }
    m_services.settings.appendPrompt(query);
    m_promptHistory->fieldEdited();
    m_refocusPrompt = m_promptField->hasFocus();
    m_promptField->setEnabled(false);
    if (m_refocusPrompt) {
        // The canvas holds the keys meanwhile, not whichever button comes next in the chain.
        m_canvas->setFocus(Qt::OtherFocusReason);
    }
    m_aiOverlay->begin();
    const AIProvider provider = m_services.settings.aiProvider();
    const AssistantServices& services = installedServices();
    std::optional<QString> apiKey;
    if (isCloudProvider(provider) && services.apiKey) {
        apiKey = services.apiKey();
    }
    m_aiFlow->start(provider, query, apiKey);
}

void EditorWindowController::aiRequestFinished(bool emptyField) {
    if (m_closed) {
        return;
    }
    m_promptField->setEnabled(m_promptState.enabled);
    if (emptyField) {
        m_promptField->clear();
    }
    // Back to the field for the next prompt, unless the user has moved on in the meantime.
    if (m_refocusPrompt && m_promptField->isEnabled() && m_canvas->hasFocus()) {
        m_promptField->setFocus(Qt::OtherFocusReason);
    }
    m_refocusPrompt = false;
}

void EditorWindowController::showAIProviderMenu() {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const AIProvider current = m_services.settings.aiProvider();
    for (const AIProvider provider :
         {AIProvider::localModel, AIProvider::googleGeminiFlash, AIProvider::googleGeminiPro}) {
        QAction* item = menu->addAction(providerTitle(provider));
        item->setCheckable(true);
        item->setChecked(provider == current);
        item->setData(rawValue(provider));
        connect(item, &QAction::triggered, this,
                [this, item] { pickAIProvider(item->data().toString()); });
    }
    const QPoint below = m_providerButton->mapToGlobal(QPoint(0, m_providerButton->height() + 2));
    menu->popup(below);
}

void EditorWindowController::pickAIProvider(const QString& value) {
    const auto provider = parseEnum<AIProvider>(value);
    if (!provider) {
        return;
    }
    m_services.settings.setAIProvider(*provider);
    m_providerButton->setTitle(providerTitle(*provider));
    const AssistantServices& services = installedServices();
    if (services.providerChanged) {
        services.providerChanged();
    } else {
        // Without the app only what the window knows: the key, but no local server state.
        const bool hasKey = services.apiKey && services.apiKey().has_value();
        showPromptFieldState(
            promptFieldState(*provider, hasKey, LocalModelAvailability::otherUnavailable));
    }
}

void EditorWindowController::showAIProviderTips() {
    const AIProvider provider = m_services.settings.aiProvider();
    m_aiOverlay->showInfo(providerTitle(provider), providerTips(provider));
}

} // namespace vellumix
