#include "EditorWindowFixture.h"
#include "ai/AIService.h"
#include "ai/FakeHttpServer.h"
#include "ai/FakeModelAnswers.h"
#include "ai/GeminiService.h"
#include "editor/AIOverlayView.h"
#include "editor/RedactionMarks.h"
#include "editor/SplitButtons.h"
#include "support/TextPictures.h"

#include <QDesktopServices>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextList>

using vellumix::test::FakeHttpServer;
using Response = FakeHttpServer::Response;

namespace {

using namespace vellumix::test;

// Stands in for the desktop's browser and file opener: records what the panel hands over.
class OpenedUrls : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls << url; }
};

// Where a link's text sits in the answer view, in its viewport.
QPoint linkPoint(QTextBrowser* view, const QString& text) {
    const QTextCursor found = view->document()->find(text);
    QTextCursor middle(view->document());
    middle.setPosition((found.selectionStart() + found.selectionEnd()) / 2);
    return view->cursorRect(middle).center();
}

// Where the screenshots of the panel go, for a person to look at.
QString shotPath(const QString& name) {
    const QString dir = qEnvironmentVariable("VELLUMIX_SHOT_DIR", QDir::tempPath());
    return QDir(dir).filePath(name + QStringLiteral(".png"));
}

} // namespace

namespace vellumix {

class AIPanelTest : public EditorWindowTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(local.start());
        ASSERT_TRUE(cloud.start());
        AIService::Options localOptions;
        localOptions.baseUrls = {local.baseUrl()};
        localOptions.log = [](const QString&) {};
        localService = std::make_unique<AIService>(localOptions);
        GeminiService::Options cloudOptions;
        cloudOptions.baseUrl = cloud.baseUrl();
        cloudOptions.log = [](const QString&) {};
        geminiService = std::make_unique<GeminiService>(cloudOptions);
        AssistantServices services;
        services.gemini = geminiService.get();
        services.localModel = localService.get();
        services.apiKey = [this] { return apiKey; };
        services.providerChanged = [this] { ++providerChanges; };
        EditorWindowController::setAssistantServices(services);
    }

    void TearDown() override {
        window.reset();
        EditorWindowController::setAssistantServices({});
    }

    void openWindow(AIProvider provider, QImage image = whiteImage(400, 300)) {
        settings.setAIProvider(provider);
        EditorDocument document;
        document.image = std::move(image);
        window = open(std::move(document));
        window->onBeep = [this] { ++beeps; };
        window->showPromptFieldState({true, QStringLiteral("Ask…")});
        // The panel's height animation runs on real time; a test waits for its end.
        window->resize(900, 700);
    }

    void serveLocal(const char* route, Response chat) { test::serveLocal(local, route, chat); }
    void serveCloud(const char* mode, Response answer) { test::serveCloud(cloud, mode, answer); }

    QLineEdit* field() const { return window->promptField(); }
    AIOverlayView* panel() const { return window->aiOverlayView(); }
    AIProviderButton* providerButton() const { return window->findChild<AIProviderButton*>(); }
    QToolButton* infoButton() const {
        for (QToolButton* button : window->findChildren<QToolButton*>()) {
            if (button->toolTip() == u"AI tips") {
                return button;
            }
        }
        return nullptr;
    }
    QToolButton* closeButton() const {
        for (QToolButton* button : panel()->findChildren<QToolButton*>()) {
            if (button->accessibleName() == u"Close AI panel") {
                return button;
            }
        }
        return nullptr;
    }

    void ask(const QString& query) {
        QTest::mouseClick(field(), Qt::LeftButton);
        field()->selectAll();
        QTest::keyClicks(field(), query);
        QTest::keyClick(field(), Qt::Key_Return);
    }
    bool awaitStatus(const QString& status, int ms = 5000) {
        return QTest::qWaitFor([&] { return panel()->statusText() == status; }, ms);
    }
    void shoot(const QString& name) {
        (void)QTest::qWaitFor([this] { return panel()->panelHeight() == panel()->targetHeight(); },
                              1000);
        EXPECT_TRUE(panel()->grab().save(shotPath(name)));
    }

    FakeHttpServer local;
    FakeHttpServer cloud;
    std::unique_ptr<AIService> localService;
    std::unique_ptr<GeminiService> geminiService;
    std::optional<QString> apiKey = QStringLiteral("k-123");
    int providerChanges = 0;
    int beeps = 0;
};

TEST_F(AIPanelTest, AQuestionStreamsIntoThePanelAsMarkdown) {
    openWindow(AIProvider::localModel);
    Response stream;
    stream.headers = {{"Content-Type", "text/event-stream"}};
    stream.chunks = {sse("The receipt totals **$42**.\\n\\n"), sse("- paid by card\\n"),
                     sse("- on 3 May", "\"stop\""), "data: [DONE]\n\n"};
    stream.chunkIntervalMs = 150;
    serveLocal("question", stream);
    EXPECT_FALSE(panel()->isVisible());

    ask(QStringLiteral("  What does the receipt say?  "));
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_FALSE(field()->isEnabled());
    EXPECT_TRUE(panel()->isSpinning());
    EXPECT_EQ(panel()->targetHeight(), AIOverlayView::workingHeight);
    // While the model answers, the window keeps working: a rectangle can be drawn.
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return panel()->shownText().contains("receipt totals"); }, 5000));
    EXPECT_EQ(panel()->statusText(), "Thinking…");
    shoot(QStringLiteral("ai-panel-working"));
    tool(Tool::rect)->click();
    dragOnCanvas({60, 60}, {160, 120});
    EXPECT_EQ(doc().annotations().size(), 1u);

    ASSERT_TRUE(awaitStatus(QStringLiteral("Done")));
    EXPECT_EQ(panel()->statusKind(), AIStatusKind::done);
    EXPECT_FALSE(panel()->isSpinning());
    // Markdown, rendered: the emphasis marks gone, the dashes turned into a list; the
    // classifying note stays above the answer.
    EXPECT_EQ(panel()->shownText(),
              "» Classifying your prompt…\nThe receipt totals $42.\npaid by card\non 3 May");
    const QTextDocument* shown = panel()->findChild<QTextBrowser*>()->document();
    EXPECT_EQ(shown->findBlockByNumber(1).textList(), nullptr);
    ASSERT_NE(shown->findBlockByNumber(2).textList(), nullptr);
    EXPECT_EQ(shown->findBlockByNumber(2).textList()->count(), 2);
    EXPECT_TRUE(field()->isEnabled());
    EXPECT_EQ(field()->text(), "  What does the receipt say?  ");
    EXPECT_EQ(settings.promptHistory(), QStringList{"What does the receipt say?"});
    shoot(QStringLiteral("ai-panel-done"));
}

TEST_F(AIPanelTest, ADetectionBatchDrawsTwoShapesAsOneUndoStep) {
    openWindow(AIProvider::googleGeminiFlash);
    serveCloud(
        "annotationEdit",
        Response::json(200, geminiText(detections({detected("rect", 10, 10, 100, 20, "title"),
                                                   detected("oval", 40, 60, 50, 50, "button")}))));
    ask(QStringLiteral("box the title and the button"));
    ASSERT_TRUE(awaitStatus(QStringLiteral("Done")));
    EXPECT_TRUE(panel()->shownText().startsWith("gemini-3.5-flash: 1,350 tokens"))
        << panel()->shownText().toStdString();
    EXPECT_TRUE(panel()->shownText().endsWith("Drew 2 shapes: title, button."));
    shoot(QStringLiteral("ai-panel-detection"));
    EXPECT_TRUE(window->grab().save(shotPath(QStringLiteral("ai-panel-window"))));
    ASSERT_EQ(doc().annotations().size(), 2u);
    EXPECT_EQ(geometry::bounds(doc().annotations()[0]), QRectF(30, 30, 100, 20));
    // The prompt is used up.
    EXPECT_TRUE(field()->text().isEmpty());
    EXPECT_TRUE(field()->isEnabled());

    canvas()->setFocus();
    QTest::keyClick(canvas(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(doc().annotations().empty());
    QTest::keyClick(canvas(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(doc().annotations().size(), 2u);
}

TEST_F(AIPanelTest, ImageEditsReplaceThePictureOrFilterIt) {
    QImage grey(200, 100, QImage::Format_RGB32);
    grey.fill(QColor(100, 100, 100));
    openWindow(AIProvider::localModel, grey);
    serveLocal(
        "imageEdit",
        Response::json(200, completion(escaped(filterDirective("brightness", 0.8, "Brighter.")))));
    ask(QStringLiteral("brighten it"));
    ASSERT_TRUE(awaitStatus(QStringLiteral("Done")));
    EXPECT_EQ(panel()->shownText(), "» Classifying your prompt…\nBrighter.");
    EXPECT_GT(qGray(doc().image().pixel(50, 50)), 100);
    EXPECT_EQ(doc().undoStack().undoText(), "Apply Brightness (AI)");

    settings.setAIProvider(AIProvider::googleGeminiPro);
    serveCloud("imageEdit",
               Response::json(200, R"({"candidates":[{"content":{"parts":[{"text":"Night."},)"
                                   R"({"inlineData":{"mimeType":"image/png","data":")" +
                                       pngBase64(QSize(100, 50), Qt::darkBlue) +
                                       R"("}}],"role":"model"},"finishReason":"STOP"}]})"));
    ask(QStringLiteral("make it night"));
    ASSERT_TRUE(awaitStatus(QStringLiteral("Done")));
    EXPECT_EQ(doc().image().size(), QSize(100, 50));
    EXPECT_EQ(doc().undoStack().undoText(), "Gemini Edit");
    EXPECT_TRUE(panel()->shownText().startsWith("gemini-3-pro-image: image & text · "));
    EXPECT_TRUE(panel()->shownText().endsWith("Night."));
    EXPECT_TRUE(cloud.requests().back().target.contains("gemini-3-pro-image"));
}

TEST_F(AIPanelTest, ARedactionRequestProposesTheSecretsAndSendsNothingToTheCloud) {
    const QImage picture = test::textPicture(
        QSize(640, 160), 22,
        {{QPoint(30, 60), QStringLiteral("Write to jane.doe@example.com or call")},
         {QPoint(30, 120), QStringLiteral("Server 192.168.10.24 is up")}});
    openWindow(AIProvider::googleGeminiFlash, picture);
    // A cloud whose classifier would route the request to a detection, which carries the
    // picture with the very addresses.
    serveCloud("annotationEdit", Response::json(200, geminiText("[]")));
    ask(QStringLiteral("redact the email addresses"));
    ASSERT_TRUE(awaitStatus(QStringLiteral("Done"), 20000)) << panel()->shownText().toStdString();
    EXPECT_EQ(panel()->shownText(), "Marked 1 area to redact: check it and choose Apply.");
    EXPECT_TRUE(cloud.requests().isEmpty()) << cloud.requests().front().body.left(200).constData();
    // The session is open with the proposal to check; nothing is hidden yet.
    EXPECT_EQ(doc().activeTool(), Tool::editImage);
    ASSERT_EQ(window->redactionMarks().marks().size(), 1u);
    EXPECT_EQ(window->redactionMarks().marks()[0].label, "Email address");
    EXPECT_EQ(doc().image(), picture.convertToFormat(doc().image().format()));
    EXPECT_TRUE(field()->isEnabled());
}

// An answer can be steered by text in the screenshot: its links open only as web pages in the
// browser, and the pictures and files it names are never loaded.
TEST_F(AIPanelTest, AnswerLinksOpenOnlyAsWebPagesAndNamedPicturesAreNotLoaded) {
    QTemporaryDir dir;
    QImage magenta(60, 30, QImage::Format_RGB32);
    magenta.fill(QColor(255, 0, 255));
    const QString picture = dir.filePath(QStringLiteral("secret.png"));
    ASSERT_TRUE(magenta.save(picture));
    OpenedUrls opened;
    const QStringList schemes{"http", "https", "file", "javascript", "mailto"};
    for (const QString& scheme : schemes) {
        QDesktopServices::setUrlHandler(scheme, &opened, "open");
    }
    const auto unset = qScopeGuard([&schemes] {
        for (const QString& scheme : schemes) {
            QDesktopServices::unsetUrlHandler(scheme);
        }
    });
    openWindow(AIProvider::localModel);
    const QByteArray answer = "[web](https://example.org/a) [plain](http://example.org/b) "
                              "[file](file:///etc/passwd) [script](javascript:alert(1)) "
                              "[mail](mailto:a@example.org) [relative](notes.txt)\\n\\n![p](" +
                              picture.toUtf8() + ") ![q](file://" + picture.toUtf8() +
                              ") <img src=\\\"" + picture.toUtf8() + "\\\">";
    Response stream;
    stream.headers = {{"Content-Type", "text/event-stream"}};
    stream.chunks = {sse(answer.constData(), "\"stop\""), "data: [DONE]\n\n"};
    serveLocal("question", stream);
    ask(QStringLiteral("where can I read more?"));
    ASSERT_TRUE(awaitStatus(QStringLiteral("Done")));

    auto* view = panel()->findChild<QTextBrowser*>();
    for (const char* link : {"web", "plain", "file", "script", "mail", "relative"}) {
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, linkPoint(view, link));
    }
    EXPECT_EQ(opened.urls,
              (QList<QUrl>{QUrl("https://example.org/a"), QUrl("http://example.org/b")}));
    EXPECT_EQ(view->source(), QUrl());
    // HTML shows as text; no pixel of the picture is drawn.
    EXPECT_TRUE(panel()->shownText().contains("<img")) << panel()->shownText().toStdString();
    shoot(QStringLiteral("ai-panel-links"));
    const QImage shown = panel()->grab().toImage();
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            ASSERT_NE(shown.pixelColor(x, y), QColor(255, 0, 255)) << x << "," << y;
        }
    }
}

TEST_F(AIPanelTest, EitherProvidersFailureShowsInThePanel) {
    openWindow(AIProvider::localModel);
    serveLocal("question", Response::json(500, R"({"error":{"message":"out of memory",)"
                                               R"("type":"server_error"}})"));
    ask(QStringLiteral("what is this?"));
    ASSERT_TRUE(awaitStatus(QStringLiteral("Error")));
    EXPECT_EQ(panel()->statusKind(), AIStatusKind::error);
    EXPECT_EQ(panel()->shownText(), "out of memory");
    EXPECT_TRUE(field()->isEnabled());
    shoot(QStringLiteral("ai-panel-error"));

    // The failure texts are the clients' (GeminiServiceTest, AIRequestFlowTest); one reaches it.
    settings.setAIProvider(AIProvider::googleGeminiFlash);
    apiKey.reset();
    ask(QStringLiteral("what is this?"));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return panel()->shownText() == "Gemini API key missing. Add one in Settings."; },
        5000));

    EXPECT_EQ(panel()->statusText(), "Error");
}

TEST_F(AIPanelTest, ClosingTheWindowMidRequestChangesNothing) {
    openWindow(AIProvider::googleGeminiFlash);
    Response late =
        Response::json(200, geminiText(detections({detected("rect", 10, 10, 100, 20, "t")})));
    late.delayMs = 400;
    serveCloud("annotationEdit", late);
    ask(QStringLiteral("box the title"));
    QTest::qWait(100);
    QTest::keyClick(window.get(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(panel()->shownText(), "» Classifying your prompt…\nEditor closed.");
    QTest::qWait(600);
    EXPECT_TRUE(doc().annotations().empty());
    EXPECT_EQ(doc().undoStack().count(), 0);
}

// The stepping rules are the browser's; here Up and Down reach it, the field shows the entry
// with the cursor at its end, and the ends beep.
TEST_F(AIPanelTest, UpAndDownStepThroughThePromptHistory) {
    settings.appendPrompt(QStringLiteral("circle the total"));
    settings.appendPrompt(QStringLiteral("what is this?"));
    openWindow(AIProvider::localModel);
    QTest::mouseClick(field(), Qt::LeftButton);
    QTest::keyClick(field(), Qt::Key_Down);
    EXPECT_EQ(beeps, 1);
    QTest::keyClicks(field(), QStringLiteral("draft"));
    QTest::keyClick(field(), Qt::Key_Up);
    EXPECT_EQ(field()->text(), "what is this?");
    EXPECT_EQ(field()->cursorPosition(), field()->text().size());
    QTest::keyClick(field(), Qt::Key_Down);
    EXPECT_EQ(field()->text(), "draft");
}

TEST_F(AIPanelTest, TheProviderMenuChecksTheStoredChoiceAndStoresANewOne) {
    openWindow(AIProvider::localModel);
    // Room below the window for the menu on the test's 800 × 600 screen.
    window->setGeometry(0, 0, 700, 420);
    QTest::mouseClick(providerButton(), Qt::LeftButton);
    QMenu* menu = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())); }, 2000));
    const auto actions = menu->actions();
    ASSERT_EQ(actions.size(), 3);
    EXPECT_EQ(actions[0]->text(), providerTitle(AIProvider::localModel));
    EXPECT_TRUE(actions[0]->isChecked());
    EXPECT_FALSE(actions[2]->isChecked());
    // Just below the button.
    EXPECT_EQ(menu->pos().y(),
              providerButton()->mapToGlobal(QPoint(0, providerButton()->height())).y() + 2);
    menu->adjustSize();
    EXPECT_TRUE(menu->grab().save(shotPath(QStringLiteral("ai-provider-menu"))));

    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(actions[2]).center());
    EXPECT_EQ(settings.aiProvider(), AIProvider::googleGeminiPro);
    EXPECT_EQ(providerButton()->title(), providerTitle(AIProvider::googleGeminiPro));
    EXPECT_EQ(providerChanges, 1);
}

TEST_F(AIPanelTest, TheInfoButtonShowsTheTipsAndEscapeOrCloseHidesThePanel) {
    openWindow(AIProvider::googleGeminiFlash);
    QTest::mouseClick(infoButton(), Qt::LeftButton);
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(panel()->statusText(), providerTitle(AIProvider::googleGeminiFlash));
    EXPECT_EQ(panel()->statusKind(), AIStatusKind::info);
    EXPECT_EQ(panel()->targetHeight(), AIOverlayView::infoHeight);
    // Rendered, not shown as source.
    EXPECT_TRUE(panel()->shownText().startsWith("Google Gemini runs in the cloud"))
        << panel()->shownText().left(80).toStdString();
    shoot(QStringLiteral("ai-panel-info"));
    EXPECT_EQ(panel()->panelHeight(), AIOverlayView::infoHeight);
    EXPECT_EQ(panel()->findChild<QTextBrowser*>()->verticalScrollBar()->value(), 0);

    QTest::mouseClick(field(), Qt::LeftButton);
    QTest::keyClick(field(), Qt::Key_Escape);
    EXPECT_FALSE(panel()->isVisible());

    QTest::mouseClick(infoButton(), Qt::LeftButton);
    ASSERT_TRUE(panel()->isVisible());
    QTest::mouseClick(closeButton(), Qt::LeftButton);
    EXPECT_FALSE(panel()->isVisible());
}

} // namespace vellumix

#include "AIPanelTest.moc"
