#include "CanvasDocumentFixture.h"
#include "bundle/ProjectBundle.h"
#include "canvas/StepLayout.h"
#include "canvas/TextLayout.h"
#include "model/Fonts.h"
#include "model/Steps.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

const TextAnnotation& textAt(const CanvasDocument& doc, size_t i) {
    return std::get<TextAnnotation>(doc.annotations().at(i));
}

QStringList stepTexts(const CanvasDocument& doc) {
    QStringList texts;
    for (const Annotation& a : doc.annotations()) {
        if (const auto n = steps::stepNumber(a)) {
            texts << QString::number(*n);
        }
    }
    return texts;
}

std::optional<CanvasMenuItem> itemTitled(const std::vector<CanvasMenuItem>& menu,
                                         const QString& title) {
    for (const CanvasMenuItem& item : menu) {
        if (item.title == title) {
            return item;
        }
    }
    return std::nullopt;
}

} // namespace

TEST_F(CanvasDocumentTest, AClickPlacesTheNextStepCentredOnItAsOneUndoStep) {
    doc.setActiveTool(Tool::step);
    AnnotationStyle style = doc.style();
    style.fillColor = SystemColors::blue.withAlpha(0.5);
    style.fontSize = 16;
    doc.setStyle(style);

    click({200, 150});
    ASSERT_EQ(doc.annotations().size(), 1u);
    const TextAnnotation& step = textAt(doc, 0);
    EXPECT_EQ(step.text, QStringLiteral("1"));
    EXPECT_EQ(step.rect.center(), QPointF(200, 150));
    EXPECT_EQ(step.rect.width(), step.rect.height());
    EXPECT_GE(step.rect.width(), 32);
    EXPECT_LE(step.rect.width(), 40);
    EXPECT_EQ(step.cornerRadius, step.rect.width() / 2);
    EXPECT_EQ(step.alignment, TextAlignment::center);
    EXPECT_EQ(step.fontStyle, FontStyleNames::bold);
    EXPECT_EQ(step.backgroundColor, SystemColors::blue.withAlpha(0.5));
    EXPECT_EQ(step.color, Color::white().withAlpha(0.5)); // the step's opacity throughout
    EXPECT_TRUE(step.strokeColor.isClear());
    EXPECT_EQ(lastUndoName(), QStringLiteral("Add Step"));
    EXPECT_EQ(doc.undoStack().count(), 1);
    EXPECT_FALSE(doc.isEditingText()); // no editor opens for a step

    click({300, 150});
    click({400, 150});
    EXPECT_EQ(stepTexts(doc), (QStringList{"1", "2", "3"}));
    EXPECT_EQ(doc.undoStack().count(), 3);
    doc.undoStack().undo();
    EXPECT_EQ(stepTexts(doc), (QStringList{"1", "2"}));
    click({400, 150}); // the number freed by undo is taken again
    EXPECT_EQ(stepTexts(doc), (QStringList{"1", "2", "3"}));
}

TEST_F(CanvasDocumentTest, StepsContinueFromTheHighestAndDeletingRenumbersNothing) {
    add(steps::makeStep(1, {100, 100}, AnnotationStyle()));
    add(steps::makeStep(2, {200, 100}, AnnotationStyle()));
    add(steps::makeStep(5, {300, 100}, AnnotationStyle()));
    doc.setSelection({1});
    doc.deleteSelection();
    EXPECT_EQ(stepTexts(doc), (QStringList{"1", "5"}));
    EXPECT_EQ(textAt(doc, 1).rect.center(), QPointF(300, 100)); // nothing else moved
    doc.setActiveTool(Tool::step);
    click({500, 100});
    EXPECT_EQ(stepTexts(doc), (QStringList{"1", "5", "6"}));
}

TEST_F(CanvasDocumentTest, StepsTakeTheirSizeAndColourFromTheStyle) {
    AnnotationStyle style;
    style.strokeColor = SystemColors::green;
    style.fillColor = Color::clear();
    // No fill: the stroke colour stands in; neither: red at the style's opacity.
    EXPECT_EQ(steps::stepColor(style), SystemColors::green);
    style.strokeColor = Color::clear();
    style.opacity = 0.75;
    EXPECT_EQ(steps::stepColor(style), SystemColors::red.withAlpha(0.75));

    style.fontSize = 32;
    const TextAnnotation big = steps::makeStep(3, {0, 0}, style);
    style.fontSize = 16;
    const TextAnnotation small = steps::makeStep(3, {0, 0}, style);
    EXPECT_NEAR(big.rect.width(), 2 * small.rect.width(), 2);

    // Long numbers grow the circle but keep it a circle that holds them on one line.
    const TextAnnotation many = steps::makeStep(123456, {50, 50}, style);
    EXPECT_GT(many.rect.width(), small.rect.width());
    EXPECT_EQ(steps::stepNumber(many), 123456);
    EXPECT_EQ(many.rect.center(), QPointF(50, 50));
    const QFont font =
        fontInCanvasUnits(resolveFont(many.fontFamily, many.fontStyle, 12), many.fontSize, nullptr);
    const double oneLine =
        TextBoxLayout::height(QStringLiteral("1"), font, 1000, TextAlignment::center);
    EXPECT_EQ(TextBoxLayout::height(many.text, font, many.rect.width() - 2 * many.padding,
                                    TextAlignment::center),
              oneLine);
}

TEST_F(CanvasDocumentTest, RestylingAStepsFontSizeKeepsItACircleAroundItsCentre) {
    add(steps::makeStep(4, {300, 200}, AnnotationStyle()));
    const double before = textAt(doc, 0).rect.width();
    doc.setSelection({0});
    StyleChange change;
    change.fontSize = 32;
    doc.restyleSelection(change);
    const TextAnnotation& step = textAt(doc, 0);
    EXPECT_EQ(steps::stepNumber(step), 4);
    EXPECT_GT(step.rect.width(), before);
    EXPECT_EQ(step.rect.center(), QPointF(300, 200));
}

TEST_F(CanvasDocumentTest, EditingAStepsTextKeepsItACircle) {
    AnnotationStyle style;
    style.fillColor = SystemColors::green;
    add(steps::makeStep(3, {250, 250}, style));
    const TextAnnotation before = textAt(doc, 0);
    doc.beginEditing(before.rect, before.text, 0);
    doc.textDidChange(QStringLiteral("12"));
    doc.commitTextEditing(false);
    const TextAnnotation& after = textAt(doc, 0);
    EXPECT_EQ(steps::stepNumber(after), 12);
    EXPECT_EQ(after.rect.center(), QPointF(250, 250));
    EXPECT_EQ(after.backgroundColor, SystemColors::green);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Edit Text"));
}

TEST_F(CanvasDocumentTest, RenumberStepsIsOfferedWithStepsAndIsOneUndoStep) {
    addRect({600, 600, 40, 40});
    auto menu = doc.contextMenu({900, 700});
    EXPECT_FALSE(itemTitled(menu, QStringLiteral("Renumber Steps")));

    add(steps::makeStep(1, {100, 100}, AnnotationStyle()));
    add(steps::makeStep(2, {200, 100}, AnnotationStyle()));
    menu = doc.contextMenu({900, 700});
    auto renumber = itemTitled(menu, QStringLiteral("Renumber Steps"));
    ASSERT_TRUE(renumber);
    EXPECT_FALSE(renumber->enabled); // already 1, 2

    add(steps::makeStep(9, {300, 100}, AnnotationStyle()));
    add(steps::makeStep(12, {400, 100}, AnnotationStyle()));
    add(steps::makeStep(2, {500, 100}, AnnotationStyle()));
    const AnnotationList before = doc.annotations();
    // From an annotation's menu as well as from the empty canvas's.
    menu = doc.contextMenu({620, 620});
    renumber = itemTitled(menu, QStringLiteral("Renumber Steps"));
    ASSERT_TRUE(renumber);
    ASSERT_TRUE(renumber->enabled);
    doc.triggerMenuItem(*renumber);
    EXPECT_EQ(stepTexts(doc), (QStringList{"1", "2", "4", "5", "3"}));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Renumber Steps"));
    EXPECT_EQ(doc.undoStack().count(), 1);
    // Twelve became five: one digit fewer, a smaller circle around the same centre.
    const TextAnnotation& twelve = textAt(doc, 4);
    EXPECT_EQ(twelve.rect.center(), QPointF(400, 100));
    EXPECT_EQ(steps::stepNumber(twelve), 5);
    EXPECT_LE(twelve.rect.width(), std::get<TextAnnotation>(before[4]).rect.width());

    doc.undoStack().undo();
    EXPECT_EQ(stepTexts(doc), (QStringList{"1", "2", "9", "12", "2"}));
    EXPECT_EQ(std::get<TextAnnotation>(doc.annotations()[4]).rect,
              std::get<TextAnnotation>(before[4]).rect);
    doc.renumberSteps();
    doc.renumberSteps(); // nothing left to do: no second step
    EXPECT_EQ(doc.undoStack().count(), 1);
}

TEST(StepBundles, StepsTravelAsPlainTextAnnotations) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("steps.vellumix"));
    QImage image(200, 100, QImage::Format_RGB32);
    image.fill(Qt::white);
    AnnotationStyle style;
    style.fillColor = SystemColors::blue;
    const AnnotationList annotations{steps::makeStep(1, {40.3, 60.7}, style),
                                     steps::makeStep(10, {120, 60}, style)};
    ASSERT_TRUE(bundle::write(image, annotations, path, BundleServices{}));

    const QByteArray json = [&] {
        QFile file(QDir(path).filePath(QStringLiteral("annotations.json")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }();
    EXPECT_TRUE(json.contains("\"type\":\"text\""));
    EXPECT_FALSE(json.contains("step"));

    const AnnotationList loaded = bundle::loadAnnotations(path);
    ASSERT_EQ(loaded.size(), 2u);
    EXPECT_EQ(steps::stepNumber(loaded[0]), 1);
    EXPECT_EQ(steps::stepNumber(loaded[1]), 10);
    EXPECT_EQ(steps::nextStepNumber(loaded), 11);
    const auto& first = std::get<TextAnnotation>(loaded[0]);
    EXPECT_EQ(first.backgroundColor, SystemColors::blue);
    EXPECT_EQ(first.color, Color::white());
    EXPECT_TRUE(first.strokeColor.isClear());
}
