#include "ai/AICanvasCommander.h"

#include "canvas/CanvasDocument.h"

#include <gtest/gtest.h>
#include <limits>

using namespace vellumix;

namespace {

class CommanderTest : public ::testing::Test {
protected:
    CanvasDocument canvas;

    void SetUp() override {
        QImage image(800, 600, QImage::Format_RGB32);
        image.fill(Qt::white);
        canvas.setImage(image);
    }
    AICommandResult run(std::vector<AICanvasCommand> commands, const QString& name = "Test (AI)") {
        return AICanvasCommander::apply(commands, name, canvas);
    }
    static CreateShapeCommand rect(PixelRect r, std::optional<AIStyleOverride> style = {}) {
        return {ShapeAnnotation::Shape::rect, r, std::move(style)};
    }
    template <class T> const T& at(size_t i) { return std::get<T>(canvas.annotations().at(i)); }
};

} // namespace

TEST_F(CommanderTest, TooSmallShapesChangeNothing) {
    const auto result = run({rect({10, 10, 0, 50})});
    EXPECT_EQ(result.failed, 1);
    EXPECT_EQ(result.summary, QStringLiteral("No annotations changed."));
    EXPECT_TRUE(canvas.annotations().empty());
    EXPECT_EQ(canvas.undoStack().count(), 0);
}

TEST_F(CommanderTest, ShapesFillInFromTheToolbarAndMoveByTheInset) {
    canvas.setStrokeColor(Color::rgb(0, 0, 1));
    canvas.setLineWidth(7);
    canvas.setFillColor(Color::rgb(0, 1, 0, 0.5));
    AIStyleOverride half;
    half.opacity = 0.5;
    half.fillUseToolbar = true;
    const auto result = run({rect({10, 20, 100, 50}), rect({0, 0, 10, 10}, half)});
    ASSERT_EQ(result.created.size(), 2u);
    const auto& plain = at<ShapeAnnotation>(0);
    EXPECT_EQ(plain.rect, QRectF(30, 40, 100, 50));
    EXPECT_EQ(plain.strokeColor, Color::rgb(0, 0, 1));
    EXPECT_EQ(plain.fillColor, Color::clear());
    EXPECT_EQ(plain.lineWidth, 7);
    const auto& faded = at<ShapeAnnotation>(1);
    EXPECT_EQ(faded.strokeColor.alpha, 0.5);
    EXPECT_EQ(faded.fillColor, Color::rgb(0, 1, 0, 0.25));
    EXPECT_EQ(result.summary, QStringLiteral("Added 2 annotations (rect × 2)."));
    EXPECT_EQ(canvas.selectedIndices(), std::set<int>{1});
    EXPECT_EQ(canvas.undoStack().count(), 1);
    EXPECT_EQ(canvas.undoStack().undoText(), QStringLiteral("Test (AI)"));
}

TEST_F(CommanderTest, InvisibleShapesGetTheFallbackRed) {
    AIStyleOverride none;
    none.strokeColor = Color::clear();
    const auto result = run({rect({0, 0, 50, 50}, none)});
    EXPECT_EQ(at<ShapeAnnotation>(0).strokeColor, Color::rgb(0.9, 0.2, 0.2));
    EXPECT_EQ(result.summary, QStringLiteral("Drew 1 rectangle."));
}

TEST_F(CommanderTest, EmptyTextRectanglesAreSizedFromTheText) {
    canvas.setFontSize(24);
    canvas.setTextPadding(8);
    const auto result = run({CreateTextCommand{"Hello", {5, 5, 0, 0}, std::nullopt}});
    ASSERT_EQ(result.created.size(), 1u);
    const auto& text = at<TextAnnotation>(0);
    EXPECT_EQ(text.rect, QRectF(25, 25, 88, 59)); // 2·8 + 24·5·0.6, 2·8 + 24·1.8 truncated
    EXPECT_EQ(text.backgroundColor, Color::clear());
    EXPECT_EQ(text.strokeColor, Color::clear());
    EXPECT_EQ(text.color, canvas.style().fontColor);
    EXPECT_EQ(result.summary, QStringLiteral("Added 1 text label."));
    EXPECT_EQ(run({CreateTextCommand{"", {5, 5, 10, 10}, std::nullopt}}).failed, 1);
}

// A model's box is cut to the 800 × 600 image; one wholly off it is dropped and reported.
TEST_F(CommanderTest, BoxesAreCutToTheImageAndThoseOffItDropped) {
    constexpr qint64 huge = 1'000'000'000'000'000LL;
    const struct {
        PixelRect box;
        std::optional<QRectF> drawn; // on the canvas; none when dropped
    } cases[] = {
        {{100, 100, 50, 40}, QRectF(120, 120, 50, 40)},
        {{-30, 590, 60, 40}, QRectF(20, 610, 30, 10)},
        {{0, 0, huge, huge}, QRectF(20, 20, 800, 600)},
        {{-huge, -huge, 2 * huge, huge + 5}, QRectF(20, 20, 800, 5)},
        {{std::numeric_limits<qint64>::max(), 10, std::numeric_limits<qint64>::max(), 10},
         std::nullopt},
        {{800, 10, 50, 50}, std::nullopt},
        {{10, -60, 50, 60}, std::nullopt},
    };
    for (const auto& c : cases) {
        canvas.setAnnotationsWithoutUndo({});
        const auto result = run({rect(c.box)});
        const QString box = QStringLiteral("%1,%2 %3×%4")
                                .arg(c.box.x)
                                .arg(c.box.y)
                                .arg(c.box.width)
                                .arg(c.box.height);
        if (c.drawn) {
            ASSERT_EQ(canvas.annotations().size(), 1u) << box.toStdString();
            EXPECT_EQ(at<ShapeAnnotation>(0).rect, *c.drawn) << box.toStdString();
            EXPECT_TRUE(result.outside.empty());
        } else {
            EXPECT_TRUE(canvas.annotations().empty()) << box.toStdString();
            ASSERT_EQ(result.outside.size(), 1u) << box.toStdString();
            EXPECT_EQ(result.outside[0].box, c.box);
            EXPECT_EQ(result.failed, 1);
        }
    }

    // A label sized from its text, and a move: cut or dropped the same way; the batch goes on.
    canvas.setAnnotationsWithoutUndo({});
    run({rect({10, 10, 20, 20})});
    const AnnotationID id = idOf(canvas.annotations()[0]);
    const auto result = run({CreateTextCommand{"Far away", {5000, 5, 0, 0}, std::nullopt},
                             UpdateCommand{id, std::nullopt, PixelRect{790, 590, 100, 100}},
                             UpdateCommand{id, std::nullopt, PixelRect{900, 0, 10, 10}}});
    EXPECT_EQ(result.updated.size(), 1u);
    ASSERT_EQ(result.outside.size(), 2u);
    EXPECT_EQ(result.outside[0].command, 0u);
    EXPECT_EQ(result.outside[1].command, 2u);
    EXPECT_EQ(at<ShapeAnnotation>(0).rect, QRectF(810, 610, 10, 10));
}

TEST_F(CommanderTest, UpdatesRestyleAndRefitByKind) {
    ShapeAnnotation shape;
    shape.rect = QRectF(30, 30, 40, 40);
    shape.strokeColor = Color::rgb(1, 0, 0, 0.8);
    shape.isLocked = true; // commands do not look at the lock
    OverlayAnnotation overlay;
    overlay.rect = QRectF(200, 200, 10, 10);
    overlay.opacity = 0.9;
    StrokeAnnotation stroke;
    stroke.path.moveTo(100, 100);
    stroke.path.lineTo(120, 140);
    canvas.setAnnotationsWithoutUndo({shape, overlay, stroke});

    AIStyleOverride half;
    half.opacity = 0.5;
    run({UpdateCommand{shape.id, half, std::nullopt},
         UpdateCommand{overlay.id, half, std::nullopt}});
    run({UpdateCommand{shape.id, half, std::nullopt},
         UpdateCommand{overlay.id, half, std::nullopt}});
    EXPECT_DOUBLE_EQ(at<ShapeAnnotation>(0).strokeColor.alpha, 0.2); // compounds
    EXPECT_EQ(at<OverlayAnnotation>(1).opacity, 0.5);                // replaced
    EXPECT_EQ(canvas.undoStack().undoText(), QStringLiteral("Test (AI)"));

    const auto result = run({UpdateCommand{stroke.id, std::nullopt, PixelRect{0, 0, 40, 80}}});
    EXPECT_EQ(at<StrokeAnnotation>(2).path.controlPointRect(), QRectF(20, 20, 40, 80));
    EXPECT_EQ(result.summary, QStringLiteral("Updated 1 annotation."));
    EXPECT_EQ(result.updated, std::vector<AnnotationID>{stroke.id});
}

TEST_F(CommanderTest, UnknownIdsFailAndDeletesClearTheSelection) {
    ShapeAnnotation shape;
    shape.rect = QRectF(30, 30, 40, 40);
    canvas.setAnnotationsWithoutUndo({shape});
    canvas.setSelection({0});
    const auto missing = *AnnotationID::decode("nope1");
    const auto result =
        run({UpdateCommand{missing, AIStyleOverride{}, std::nullopt}, DeleteCommand{shape.id}});
    EXPECT_EQ(result.failed, 1);
    EXPECT_EQ(result.summary, QStringLiteral("Deleted 1 annotation."));
    EXPECT_TRUE(canvas.annotations().empty());
    EXPECT_TRUE(canvas.selectedIndices().empty());
    canvas.undoStack().undo();
    EXPECT_EQ(canvas.annotations().size(), 1u); // the batch is one step
}

TEST_F(CommanderTest, MixedBatchesSummariseAndSelectTheLastCreated) {
    ShapeAnnotation shape;
    shape.rect = QRectF(30, 30, 40, 40);
    canvas.setAnnotationsWithoutUndo({shape});
    AIStyleOverride blue;
    blue.strokeColor = Color::rgb(0, 0, 1);
    const auto result = run({rect({0, 0, 20, 20}), UpdateCommand{shape.id, blue, std::nullopt},
                             CreateShapeCommand{ShapeAnnotation::Shape::oval, {5, 5, 9, 9}, {}}});
    EXPECT_EQ(result.summary, QStringLiteral("Added 2, updated 1."));
    EXPECT_EQ(canvas.selectedIndices(), std::set<int>{2});
}

TEST(CommanderNames, SingleAndBatchActionNames) {
    const auto id = *AnnotationID::decode("abcde");
    const CreateShapeCommand rect{ShapeAnnotation::Shape::rect, {0, 0, 5, 5}, {}};
    const CreateShapeCommand oval{ShapeAnnotation::Shape::oval, {0, 0, 5, 5}, {}};
    EXPECT_EQ(AICanvasCommander::actionName(rect), QStringLiteral("Add Rectangle (AI)"));
    EXPECT_EQ(AICanvasCommander::actionName(oval), QStringLiteral("Add Oval (AI)"));
    EXPECT_EQ(AICanvasCommander::actionName(CreateTextCommand{"x", {}, {}}),
              QStringLiteral("Add Text (AI)"));
    EXPECT_EQ(AICanvasCommander::actionName(DeleteCommand{id}),
              QStringLiteral("Delete Annotation (AI)"));
    EXPECT_EQ(AICanvasCommander::actionName(UpdateCommand{id, {}, {}}),
              QStringLiteral("Modify Annotation (AI)"));

    using B = std::vector<AICanvasCommand>;
    EXPECT_EQ(AICanvasCommander::batchActionName(B{rect}), QStringLiteral("Add Shape (AI)"));
    EXPECT_EQ(AICanvasCommander::batchActionName(B{rect, oval, rect}),
              QStringLiteral("Add 3 Annotations (AI)"));
    EXPECT_EQ(AICanvasCommander::batchActionName(B{rect, DeleteCommand{id}}),
              QStringLiteral("Modify 2 Annotations (AI)"));
    EXPECT_EQ(AICanvasCommander::batchActionName(B{UpdateCommand{id, {}, {}}}),
              QStringLiteral("Modify Annotation (AI)"));
    EXPECT_EQ(
        AICanvasCommander::batchActionName(B{UpdateCommand{id, {}, {}}, UpdateCommand{id, {}, {}}}),
        QStringLiteral("Modify 2 Annotations (AI)"));
    EXPECT_EQ(AICanvasCommander::batchActionName(B{DeleteCommand{id}, DeleteCommand{id}}),
              QStringLiteral("Delete 2 Annotations (AI)"));
    EXPECT_EQ(AICanvasCommander::batchActionName(B{}), QStringLiteral("Modify Annotation (AI)"));
}
