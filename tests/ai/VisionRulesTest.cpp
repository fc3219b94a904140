#include "ai/VisionRules.h"

#include <gtest/gtest.h>

using namespace vellumix;
using namespace vellumix::vision;

namespace {

std::vector<int> profile(int rows, int ink) {
    return std::vector<int>(rows, ink);
}

void blank(std::vector<int>& rows, int first, int last) {
    for (int row = first; row <= last; ++row) {
        rows[row] = 0;
    }
}

void expectBand(const TextBand& band, int top, int bottom, int ownTop, int ownBottom) {
    EXPECT_EQ(band.top, top);
    EXPECT_EQ(band.bottom, bottom);
    EXPECT_EQ(band.ownTop, ownTop);
    EXPECT_EQ(band.ownBottom, ownBottom);
}

QStringList texts(const std::vector<FoundLine>& lines) {
    QStringList all;
    for (const FoundLine& line : lines) {
        all << line.text;
    }
    return all;
}

double confidenceOf(const PictureMeasures& measures, const char* identifier) {
    for (const Classification& label : classify(measures)) {
        if (label.identifier == QLatin1String(identifier)) {
            return label.confidence;
        }
    }
    return 0;
}

OCRLine line(const char* text, QRectF rect) {
    return {QString::fromLatin1(text), rect, OCRLineSize::regular};
}

} // namespace

TEST(VisionCoordinates, WorkingBoxesComeBackInImagePixels) {
    // Working picture at 1.5 × the image: (150, 75, 300, 50) is (100, 50, 200, 33.3…).
    const QRectF rect = imageRectFromWorking(QRect(150, 75, 300, 50), 1.5, QSizeF(1000, 500));
    EXPECT_DOUBLE_EQ(rect.x(), 100);
    EXPECT_DOUBLE_EQ(rect.y(), 50);
    EXPECT_DOUBLE_EQ(rect.width(), 200);
    EXPECT_NEAR(rect.height(), 33.333, 0.001);
    // Halved: a box reaching past the right edge is clipped to the image.
    EXPECT_EQ(imageRectFromWorking(QRect(300, 10, 200, 20), 0.5, QSizeF(800, 400)),
              QRectF(600, 20, 200, 40));
}

TEST(TextBands, CutsGoIntoTheLongestBlankRunNearTheMiddle) {
    // 100 rows of text with a 5-row gap at 45…49 and a 1-row gap at 60: two bands meet in the
    // middle of the longer gap and reach only into it.
    std::vector<int> rows = profile(100, 5);
    blank(rows, 45, 49);
    blank(rows, 60, 60);
    const std::vector<TextBand> bands = layoutTextBands(rows, 2, 10);
    ASSERT_EQ(bands.size(), 2u);
    expectBand(bands[0], 0, 50, 0, 47);
    expectBand(bands[1], 45, 100, 47, 100);
}

TEST(TextBands, EqualGapsGoToTheOneNearerTheEvenSplit) {
    std::vector<int> rows = profile(100, 3);
    blank(rows, 40, 41);
    blank(rows, 57, 58);
    const std::vector<TextBand> bands = layoutTextBands(rows, 2, 10);
    ASSERT_EQ(bands.size(), 2u);
    expectBand(bands[0], 0, 59, 0, 57);
    expectBand(bands[1], 57, 100, 57, 100);
}

TEST(TextBands, WithoutAGapTheLeastInkedRowIsCutWithTheFullOverlap) {
    // Ink |r − 30| + 1: the emptiest row within 12 rows of 50 is row 38.
    std::vector<int> rows;
    for (int r = 0; r < 100; ++r) {
        rows.push_back(std::abs(r - 30) + 1);
    }
    const std::vector<TextBand> bands = layoutTextBands(rows, 2, 10);
    ASSERT_EQ(bands.size(), 2u);
    expectBand(bands[0], 0, 48, 0, 38);
    expectBand(bands[1], 28, 100, 38, 100);
}

TEST(TextBands, ShortPicturesGetFewerBandsAndEmptyOnesNone) {
    // 60 rows cannot hold bands of twice a 20-row overlap: one band.
    const std::vector<TextBand> one = layoutTextBands(profile(60, 1), 4, 20);
    ASSERT_EQ(one.size(), 1u);
    expectBand(one[0], 0, 60, 0, 60);
    // Three bands over 300 even rows: cuts at 100 and 200.
    const std::vector<TextBand> three = layoutTextBands(profile(300, 2), 3, 20);
    ASSERT_EQ(three.size(), 3u);
    expectBand(three[0], 0, 120, 0, 100);
    expectBand(three[1], 80, 220, 100, 200);
    expectBand(three[2], 180, 300, 200, 300);
    EXPECT_TRUE(layoutTextBands({}, 2, 10).empty());
}

TEST(TextBands, MergingKeepsEveryLineOnceAndWhole) {
    const std::vector<TextBand> bands{{0, 60, 0, 50}, {40, 100, 50, 100}};
    std::vector<std::vector<FoundLine>> found(2);
    // alpha: only in the upper band.
    found[0].push_back({QStringLiteral("alpha"), QRect(0, 10, 100, 10), 90});
    // beta: whole in both bands, its centre (47) in the upper band's own rows.
    found[0].push_back({QStringLiteral("beta"), QRect(100, 42, 100, 10), 90});
    found[1].push_back({QStringLiteral("beta"), QRect(100, 42, 100, 10), 90});
    // gamma: cut by the upper band's lower edge, whole below.
    found[0].push_back({QStringLiteral("gam"), QRect(200, 54, 100, 6), 90});
    found[1].push_back({QStringLiteral("gamma"), QRect(200, 54, 100, 12), 90});
    // delta: taller than the overlap, cut in both; the larger piece (35 rows) stays.
    found[0].push_back({QStringLiteral("delta top"), QRect(300, 30, 100, 30), 90});
    found[1].push_back({QStringLiteral("delta bottom"), QRect(300, 40, 100, 35), 90});
    // epsilon: touches the lower band's upper edge with nothing over it in the upper band.
    found[1].push_back({QStringLiteral("epsilon"), QRect(400, 40, 100, 30), 90});

    EXPECT_EQ(texts(mergeBandLines(bands, found)),
              QStringList({"alpha", "beta", "gamma", "delta bottom", "epsilon"}));
}

TEST(ReadingOrder, RowsTopToBottomAndLeftToRightWithinARow) {
    std::vector<OCRLine> lines{
        line("body", {300, 102, 200, 14}), line("next", {10, 130, 80, 14}),
        line("title", {10, 50, 100, 20}),  line("sidebar", {10, 100, 60, 14}),
        line("date", {600, 112, 50, 12}),  line("heading", {300, 60, 300, 40}),
    };
    sortIntoReadingOrder(lines);
    QStringList order;
    for (const OCRLine& l : lines) {
        order << l.text;
    }
    // The heading's centre (80) lies below the title's rows (50…70): a row of its own. The
    // body's (109) lies within the sidebar's (100…114), the date's (118) does not.
    EXPECT_EQ(order, QStringList({"title", "heading", "sidebar", "body", "date", "next"}));

    // A tall line gathers the small text beside it.
    lines = {line("small", {400, 110, 50, 12}), line("big", {10, 100, 300, 40}),
             line("below", {10, 145, 90, 14})};
    sortIntoReadingOrder(lines);
    EXPECT_EQ(lines[0].text, QStringLiteral("big"));
    EXPECT_EQ(lines[1].text, QStringLiteral("small"));
    EXPECT_EQ(lines[2].text, QStringLiteral("below"));
}

TEST(LineText, IsTrimmedAndReadsALoneBarBeforeALowerCaseWordAsI) {
    EXPECT_EQ(cleanLineText(QStringLiteral("Hello world\n")), QStringLiteral("Hello world"));
    EXPECT_EQ(cleanLineText(QStringLiteral("| prefer tea")), QStringLiteral("I prefer tea"));
    EXPECT_EQ(cleanLineText(QStringLiteral("so | can go\n")), QStringLiteral("so I can go"));
    EXPECT_EQ(cleanLineText(QStringLiteral("Name | Size | Date")),
              QStringLiteral("Name | Size | Date"));
    EXPECT_EQ(cleanLineText(QStringLiteral("a |")), QStringLiteral("a |"));
    // Nothing to read: rules, icons, noise.
    EXPECT_EQ(cleanLineText(QStringLiteral("| — =\n")), QString());
    EXPECT_EQ(cleanLineText(QStringLiteral("  ")), QString());
}

TEST(LineText, EngineBoxesLandOnTheCharactersTheyHold) {
    // As recorded: trimmed and "|" read as "I"; boxes at scale 2 come back halved.
    OCRLine line{cleanLineText(QStringLiteral(" | am KEY=ab\n")), QRectF()};
    const auto glyphs = [](std::initializer_list<const char*> texts, int x) {
        std::vector<std::pair<QString, QRect>> boxes;
        for (const char* text : texts) {
            boxes.emplace_back(QString::fromUtf8(text), QRect(x, 0, 20, 20));
            x += 20;
        }
        return boxes;
    };
    placeTextBoxes(line,
                   {{QStringLiteral("|"), QRect(0, 0, 10, 20), glyphs({"|"}, 0)},
                    {QStringLiteral("am"), QRect(20, 0, 40, 20), glyphs({"a", "m"}, 20)},
                    // Glyphs that do not spell their word get no boxes.
                    {QStringLiteral("KEY=ab"), QRect(80, 0, 120, 20), glyphs({"K", "E"}, 80)}},
                   2, QSizeF(500, 500));
    EXPECT_EQ(line.text, QStringLiteral("I am KEY=ab"));
    EXPECT_EQ(line.words, (std::vector<OCRTextBox>{{2, 2, QRectF(10, 0, 20, 10)},
                                                   {5, 6, QRectF(40, 0, 60, 10)}}));
    EXPECT_EQ(line.glyphs, (std::vector<OCRTextBox>{{2, 1, QRectF(10, 0, 10, 10)},
                                                    {3, 1, QRectF(20, 0, 10, 10)}}));
}

TEST(OcrLanguages, LocaleNamesMapToTesseractCodes) {
    EXPECT_EQ(tesseractLanguageCode(QStringLiteral("de_DE.UTF-8")), QStringLiteral("deu"));
    EXPECT_EQ(tesseractLanguageCode(QStringLiteral("pt-BR")), QStringLiteral("por"));
    EXPECT_EQ(tesseractLanguageCode(QStringLiteral("en")), QStringLiteral("eng"));
    EXPECT_EQ(tesseractLanguageCode(QStringLiteral("fr_CA@euro")), QStringLiteral("fra"));
    EXPECT_EQ(tesseractLanguageCode(QStringLiteral("zh_TW")), QStringLiteral("chi_tra"));
    EXPECT_EQ(tesseractLanguageCode(QStringLiteral("zh-Hans-CN")), QStringLiteral("chi_sim"));
    EXPECT_EQ(tesseractLanguageCode(QStringLiteral("nb_NO")), QStringLiteral("nor"));
    EXPECT_EQ(tesseractLanguageCode(QStringLiteral("C")), QString());
    EXPECT_EQ(tesseractLanguageCode(QStringLiteral("xx_YY")), QString());
}

TEST(OcrLanguages, InstalledDesktopLanguagesComeFirstThenEnglish) {
    const QStringList debian{"eng", "osd"};
    EXPECT_EQ(tesseractLanguages(debian, {"de-DE", "de", "en-US"}), QStringLiteral("eng"));
    EXPECT_EQ(tesseractLanguages({"deu", "eng", "osd"}, {"de-DE", "en-US"}),
              QStringLiteral("deu+eng"));
    // At most three: English gives way to the desktop's own.
    EXPECT_EQ(tesseractLanguages({"fra", "deu", "ita", "eng"}, {"fr", "de", "it"}),
              QStringLiteral("fra+deu+ita"));
    // Without English or a desktop language: any model but the script detector.
    EXPECT_EQ(tesseractLanguages({"osd", "spa", "equ"}, {"ja"}), QStringLiteral("spa"));
    EXPECT_EQ(tesseractLanguages({"osd"}, {"en"}), QString());
}

// Measures in field order: textCoverage, textLines, meanLineWidth, flatShare, backgroundShare,
// saturatedShare, saturatedFlatShare, edgeDensity, axisLineShare.
TEST(VisionLabels, EachKindOfPictureGetsItsOwnLabels) {
    const struct {
        const char* name;
        PictureMeasures measures;
        QStringList kept;
    } cases[] = {
        {"interface", {0.1, 40, 0.1, 0.9, 0.6, 0.03, 0.02, 0.06, 0.1}, {"screenshot", "text"}},
        {"page", {0.4, 40, 0.7, 0.75, 0.8, 0, 0, 0.15, 0}, {"document", "text"}},
        // text = r(0.08; 0, 0.1) = 0.8; screenshot is silenced by chart = 1.
        {"chart", {0.08, 12, 0.1, 0.95, 0.7, 0.25, 0.23, 0.03, 0.7}, {"chart", "text"}},
        // background r(0.8; 0.75, 0.85) = 0.5, edges r = 0.8: diagram 0.4.
        {"diagram", {0.01, 6, 0, 0.98, 0.8, 0, 0, 0.026, 0.67}, {"diagram"}},
        // The same outlines and labels over several panels are an interface.
        {"panels", {0.01, 14, 0, 0.98, 0.7, 0, 0, 0.026, 0.67}, {"screenshot"}},
        {"photo", {0, 0, 0, 0.2, 0.03, 0.6}, {"photo"}},
        // Between the ramps' ends: screenshot 0.255 and chart 0.15 fall below 0.3, text 0.5 and
        // photo 0.4 do not.
        {"in between", {0.05, 10, 0.45, 0.56, 0.3, 0, 0.1, 0.02, 0.35}, {"text", "photo"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(keepClassifications(classify(c.measures)), c.kept) << c.name;
    }
    EXPECT_DOUBLE_EQ(confidenceOf(cases[0].measures, "screenshot"), 1);
    EXPECT_NEAR(confidenceOf(cases[3].measures, "diagram"), 0.4, 1e-9);
}

TEST(VisionLabels, FacesMakeAPersonAndBodiesToo) {
    PictureMeasures m;
    m.faces = 2;
    m.faceConfidence = 0.8;
    m.bodies = 1;
    m.bodyConfidence = 0.5;
    EXPECT_DOUBLE_EQ(confidenceOf(m, "face"), 0.8);
    EXPECT_NEAR(confidenceOf(m, "person"), 0.72, 1e-9);
    m.faces = 0;
    m.faceConfidence = 0;
    m.bodyConfidence = 0.65;
    EXPECT_EQ(confidenceOf(m, "face"), 0);
    EXPECT_DOUBLE_EQ(confidenceOf(m, "person"), 0.65);
}

TEST(VisionLabels, CascadeNeighboursRampFromFourToTwentyFour) {
    EXPECT_EQ(cascadeConfidence(3), 0);
    EXPECT_EQ(cascadeConfidence(4), 0);
    EXPECT_DOUBLE_EQ(cascadeConfidence(14), 0.5);
    EXPECT_DOUBLE_EQ(cascadeConfidence(24), 1);
    EXPECT_DOUBLE_EQ(cascadeConfidence(40), 1);
}

TEST(VisionLimits, AtMostSixLabelsFromPointThreeUp) {
    std::vector<Classification> labels;
    for (int i = 0; i < 10; ++i) {
        labels.push_back({QStringLiteral("label%1").arg(i), 0.9 - 0.01 * i});
    }
    EXPECT_EQ(keepClassifications(labels),
              QStringList({"label0", "label1", "label2", "label3", "label4", "label5"}));

    const std::vector<Classification> mixed{
        {"weak", 0.29}, {"edge", 0.3}, {"strong", 0.8}, {"faint", 0.1}};
    // The given order stays; only the threshold filters.
    EXPECT_EQ(keepClassifications(mixed), QStringList({"edge", "strong"}));
}

TEST(VisionLimits, SalientRegionsBelowPointThreeAreDropped) {
    const std::vector<SalientRegion> regions{
        {QRectF(0, 0, 10, 10), 0.5f}, {QRectF(5, 5, 10, 10), 0.29f}, {QRectF(9, 9, 10, 10), 0.3f}};
    const std::vector<SalientRegion> kept = keepSalientRegions(regions);
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_EQ(kept[0].rect, QRectF(0, 0, 10, 10));
    EXPECT_EQ(kept[1].rect, QRectF(9, 9, 10, 10));
}
