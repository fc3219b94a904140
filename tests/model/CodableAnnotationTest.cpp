#include "model/CodableAnnotation.h"

#include "model/AnnotationStyle.h"

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

AnnotationList decode(const std::string& json, const OverlayImageLoader& loader = {}) {
    return decodeAnnotations(json, loader);
}

template <class T> T only(const AnnotationList& list) {
    EXPECT_EQ(list.size(), 1u);
    return std::get<T>(list.at(0));
}

AnnotationID id(const char* raw) {
    return *AnnotationID::decode(QString::fromLatin1(raw));
}

} // namespace

// One record of every kind, exactly as written: key order, omissions, rounding, integers.
TEST(CodableAnnotation, WritesKeysInFieldOrderWithOmissions) {
    ShapeAnnotation shape;
    shape.id = id("s1");
    shape.rect = QRectF(10.005, -10.005, 100, 50.5);
    shape.strokeColor = Color::rgb(0.12345, 0.5, 1, 0.75);
    shape.lineWidth = 2;
    shape.isLocked = true;

    TextAnnotation text;
    text.id = id("t1");
    text.rect = QRectF(0, 0, 120, 40);
    text.text = QStringLiteral("Hi \"there\"");
    text.color = Color::rgb(1, 1, 1, 0.5);
    text.backgroundColor = Color::rgb(0, 0, 0, 1);
    text.strokeColor = Color::clear();
    text.lineWidth = 3;
    text.padding = 0;
    text.alignment = TextAlignment::right;

    ArrowAnnotation arrow;
    arrow.id = id("a1");
    arrow.start = {1, 2};
    arrow.end = {3.333, 4};
    arrow.controlPoint = {2, 3};
    arrow.color = Color::black();
    arrow.endCap = ArrowEndCap::dotBoth;

    OverlayAnnotation overlay;
    overlay.id = id("o1");
    overlay.rect = QRectF(5, 5, 20, 20);
    overlay.opacity = 0.6666;

    EXPECT_EQ(
        encodeAnnotations({shape, text, arrow, overlay}),
        R"([{"type":"shape","shape":"rect","rect":[10.01,-10.01,100,50.5],)"
        R"("color":[0.123,0.5,1],"lineWidth":2,"opacity":0.75,"lineStyle":"solid",)"
        R"("isLocked":true,"id":"s1"},)"
        R"({"type":"text","rect":[0,0,120,40],"color":[1,1,1],"lineWidth":0,)"
        R"("fillColor":[0,0,0],"opacity":0.5,"text":"Hi \"there\"","fontFamily":"System",)"
        R"("fontStyle":"Regular","fontSize":16,"alignment":2,"borderWidth":3,"lineStyle":"solid",)"
        R"("id":"t1"},)"
        R"({"type":"arrow","points":[[1,2],[3.33,4],[2,3]],"color":[0,0,0],"lineWidth":2,)"
        R"("opacity":1,"arrowEndCap":"dotBoth","id":"a1"},)"
        R"({"type":"overlay","rect":[5,5,20,20],"lineWidth":0,"opacity":0.667,"id":"o1"}])");
}

TEST(CodableAnnotation, StrokePointsComeFromMovesLinesAndCurveEnds) {
    StrokeAnnotation stroke;
    stroke.path.moveTo(0, 0);
    stroke.path.lineTo(10, 0);
    stroke.path.cubicTo(11, 1, 12, 2, 13, 3);
    stroke.path.closeSubpath();
    const auto points = *toCodable(stroke).points;
    ASSERT_EQ(points.size(), 4u);
    EXPECT_EQ(points[2], (StoredPoint{13, 3, 2}));
    EXPECT_EQ(points[3], (StoredPoint{0, 0, 2})); // the closing line back to the start
}

TEST(CodableAnnotation, ClearColoursAreOmittedAndReadBackClear) {
    ShapeAnnotation shape;
    shape.rect = QRectF(0, 0, 10, 10);
    shape.fillColor = Color::clear();
    const auto codable = toCodable(shape);
    EXPECT_FALSE(codable.fillColor.has_value());
    const auto back = only<ShapeAnnotation>(decode(encodeAnnotations({shape})));
    EXPECT_EQ(back.fillColor.alpha, 0);
    EXPECT_EQ(back.strokeColor, shape.strokeColor);
}

TEST(CodableAnnotation, ColoursShareOneAlphaOnReading) {
    TextAnnotation text;
    text.rect = QRectF(0, 0, 50, 20);
    text.text = QStringLiteral("x");
    text.color = Color::rgb(1, 0, 0, 0.5);
    text.backgroundColor = Color::rgb(0, 0, 1, 1);
    text.strokeColor = Color::rgb(0, 1, 0, 1);
    const auto back = only<TextAnnotation>(decode(encodeAnnotations({text})));
    EXPECT_EQ(back.color.alpha, 0.5);
    EXPECT_EQ(back.backgroundColor, Color::rgb(0, 0, 1, 0.5));
    EXPECT_EQ(back.strokeColor.alpha, 0.5);
}

TEST(CodableAnnotation, MissingColoursReadAsTheKindsDefaults) {
    const auto text = only<TextAnnotation>(decode(
        R"([{"type":"text","rect":[0,0,9,9],"text":"a","fontFamily":"System","fontStyle":"Bold",)"
        R"("fontSize":12,"alignment":1,"lineWidth":0,"opacity":0.3}])"));
    EXPECT_EQ(text.color, SystemColors::red);
    EXPECT_EQ(text.alignment, TextAlignment::center);
    EXPECT_EQ(text.padding, 0);
    EXPECT_EQ(text.backgroundColor.alpha, 0);

    const auto shape = only<ShapeAnnotation>(
        decode(R"([{"type":"shape","shape":"circle","rect":[0,0,9,9],"lineWidth":1,"opacity":1,)"
               R"("color":[1,0],"lineStyle":"wavy"}])"));
    EXPECT_EQ(shape.shape, ShapeAnnotation::Shape::rect);
    EXPECT_EQ(shape.strokeColor, SystemColors::red); // wrong component count
    EXPECT_EQ(shape.lineStyle, LineStyle::solid);
    const auto bare = only<ShapeAnnotation>(
        decode(R"([{"type":"shape","shape":"oval","rect":[0,0,9,9],"lineWidth":1,"opacity":1}])"));
    EXPECT_EQ(bare.shape, ShapeAnnotation::Shape::oval);
    EXPECT_EQ(bare.strokeColor.alpha, 0);
}

TEST(CodableAnnotation, LockAndIdentityRules) {
    const auto list = decode(
        R"([{"type":"shape","shape":"rect","rect":[0,0,1,1],"lineWidth":1,"opacity":1,"id":""},)"
        R"({"type":"shape","shape":"rect","rect":[0,0,1,1],"lineWidth":1,"opacity":1,"isLocked":false},)"
        R"({"type":"shape","shape":"rect","rect":[0,0,1,1],"lineWidth":1,"opacity":1,"isLocked":true,"id":"a long stored id"}])");
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(idOf(list[0]).rawValue().size(), 5);
    EXPECT_EQ(idOf(list[1]).rawValue().size(), 5);
    EXPECT_FALSE(isLocked(list[1]));
    EXPECT_TRUE(isLocked(list[2]));
    EXPECT_EQ(idOf(list[2]).rawValue(), QStringLiteral("a long stored id"));
    EXPECT_EQ(toCodable(list[1]).isLocked, std::nullopt);
}

TEST(CodableAnnotation, UnusableRecordsAreDroppedOthersKept) {
    const auto list = decode(
        R"([{"type":"arrow","points":[[0,0],[1,1]],"lineWidth":1,"opacity":1},)"
        R"({"type":"arrow","points":[[0,0],[1,1],[2,2],[3,3]],"lineWidth":1,"opacity":1},)"
        R"({"type":"arrow","points":[[0,0],[1,1,1],[2,2]],"lineWidth":1,"opacity":1},)"
        R"({"type":"ellipse","rect":[0,0,1,1],"lineWidth":1,"opacity":1},)"
        R"({"type":"stroke","points":[[5]],"lineWidth":1,"opacity":1},)"
        R"({"type":"shape","rect":[0,0,1,1],"lineWidth":1,"opacity":1},)"
        R"({"type":"text","rect":[0,0,1,1],"text":"no font","lineWidth":0,"opacity":1},)"
        R"({"type":"shape","shape":"rect","rect":[0,1e300,1,1],"lineWidth":1,"opacity":1},)"
        R"({"type":"stroke","points":[[0,0],[1,2,3],[4,5]],"lineWidth":1,"opacity":1,"id":"kept"}])");
    const auto stroke = only<StrokeAnnotation>(list);
    EXPECT_EQ(stroke.path.elementCount(), 2);
    EXPECT_EQ(QPointF(stroke.path.elementAt(1)), QPointF(4, 5));
}

TEST(CodableAnnotation, AnyUndecodableRecordVoidsTheWholeFile) {
    const std::string good =
        R"({"type":"shape","shape":"rect","rect":[0,0,1,1],"lineWidth":1,"opacity":1})";
    ASSERT_EQ(decode("[" + good + "]").size(), 1u);
    for (const std::string bad : {
             R"({"type":"shape","shape":"rect","rect":[0,0,1,1],"lineWidth":1})",
             R"({"shape":"rect","rect":[0,0,1,1],"lineWidth":1,"opacity":1})",
             R"({"type":"shape","rect":"0,0,1,1","lineWidth":1,"opacity":1})",
             R"({"type":"shape","rect":[0,"0",1,1],"lineWidth":1,"opacity":1})",
             R"({"type":"text","alignment":1.5,"lineWidth":1,"opacity":1})",
             R"({"type":"shape","isLocked":1,"lineWidth":1,"opacity":1})",
             R"({"type":"shape","id":5,"lineWidth":1,"opacity":1})",
             R"({"type":"stroke","points":[[0,0],5],"lineWidth":1,"opacity":1})",
             R"("not an object")",
         }) {
        EXPECT_TRUE(decode("[" + good + "," + bad + "]").empty()) << bad;
    }
    for (const std::string notAList : {"", "{}", "[", "nul", "[1,]", "\xff\xfe"}) {
        EXPECT_TRUE(decode(notAList).empty());
    }
}

TEST(CodableAnnotation, NullReadsAsAbsentOnlyForOptionalKeys) {
    // An optional key with null is as if it were missing.
    const auto shape = only<ShapeAnnotation>(decode(
        R"([{"type":"shape","shape":"rect","rect":[0,0,10,10],"color":[0,0,1],"lineWidth":2,)"
        R"("fillColor":null,"opacity":1,"cornerRadius":null,"lineStyle":null,"isLocked":null,)"
        R"("id":null}])"));
    EXPECT_TRUE(shape.fillColor.isClear());
    EXPECT_EQ(shape.cornerRadius, 0);
    EXPECT_EQ(shape.lineStyle, LineStyle::solid);
    EXPECT_FALSE(shape.isLocked);
    EXPECT_EQ(shape.id.rawValue().size(), 5);
    // A null where a record needs its value, or inside a number list, is a wrong type.
    const std::string good =
        R"({"type":"shape","shape":"rect","rect":[0,0,1,1],"lineWidth":1,"opacity":1})";
    for (const std::string bad : {
             R"({"type":"shape","shape":"rect","rect":[0,0,1,1],"lineWidth":1,"opacity":null})",
             R"({"type":null,"lineWidth":1,"opacity":1})",
             R"({"type":"shape","rect":[0,null,1,1],"lineWidth":1,"opacity":1})",
             R"(null)",
         }) {
        EXPECT_TRUE(decode("[" + good + "," + bad + "]").empty()) << bad;
    }
}

TEST(CodableAnnotation, OverlaysNeedALoadableImage) {
    const std::string json =
        R"([{"type":"overlay","rect":[0,0,4,4],"lineWidth":0,"opacity":0.5,"overlayRef":"GOOD"},)"
        R"({"type":"overlay","rect":[0,0,4,4],"lineWidth":0,"opacity":0.5,"overlayRef":"GONE"},)"
        R"({"type":"overlay","rect":[0,0,4,4],"lineWidth":0,"opacity":0.5}])";
    QImage pixels(2, 2, QImage::Format_ARGB32);
    pixels.fill(Qt::red);
    const auto overlay = only<OverlayAnnotation>(
        decode(json, [&](const QString& ref) { return ref == u"GOOD" ? pixels : QImage(); }));
    EXPECT_EQ(overlay.overlayRef, QStringLiteral("GOOD"));
    EXPECT_EQ(overlay.opacity, 0.5);
    EXPECT_EQ(overlay.image.size(), QSize(2, 2));
}

TEST(CodableAnnotation, EncodingIsStableAcrossARoundTrip) {
    StrokeAnnotation stroke;
    stroke.path.moveTo(1.111, 2.222);
    stroke.path.lineTo(3.3333, 4.4444);
    stroke.lineStyle = LineStyle::dashDot;
    stroke.color = Color::rgb(0.1234, 0.5, 0.9, 0.25);
    ArrowAnnotation arrow;
    arrow.endCap = ArrowEndCap::line;
    arrow.color = SystemColors::green;
    const std::string once = encodeAnnotations(
        {stroke, arrow,
         makeText(QRectF(1, 2, 3, 4), QStringLiteral("ü\nnext"), AnnotationStyle())});
    EXPECT_EQ(encodeAnnotations(decode(once)), once);
}

// Files beyond a quarter megabyte are parsed in pieces on several cores; the pieces must behave
// exactly like one parse: strings with commas and brackets don't split records, and a bad record
// anywhere still voids the file.
TEST(CodableAnnotation, LargeFilesDecodeInPiecesLikeOneParse) {
    std::string json = "[";
    const int records = 3000;
    for (int i = 0; i < records; ++i) {
        json += i ? "," : "";
        json += R"({"type":"text","rect":[0,0,9,9],"text":"a, [tricky], {\"quoted\"} text )" +
                std::to_string(i) +
                R"(","fontFamily":"System","fontStyle":"Regular","fontSize":12,"alignment":0,)"
                R"("lineWidth":0,"opacity":1,"id":"t)" +
                std::to_string(i) + R"("})";
    }
    ASSERT_GT(json.size(), 256u * 1024);
    const AnnotationList all = decode(json + "]");
    ASSERT_EQ(all.size(), static_cast<size_t>(records));
    EXPECT_EQ(idOf(all.back()).rawValue(), QStringLiteral("t2999"));
    EXPECT_EQ(std::get<TextAnnotation>(all[1500]).text,
              QStringLiteral("a, [tricky], {\"quoted\"} text 1500"));

    EXPECT_TRUE(decode(json + R"(,{"type":"shape","lineWidth":1}])").empty());
    EXPECT_TRUE(decode(json).empty());        // unterminated
    EXPECT_TRUE(decode(json + "]]").empty()); // trailing garbage
    std::string early = json + "]";
    early.replace(early.find(R"("opacity":1)"), 11, R"("opacity":"1")");
    EXPECT_TRUE(decode(early).empty());
}

TEST(CodableAnnotation, HostileInputsReadAsNothingWithoutCrashing) {
    EXPECT_TRUE(decode(std::string(200000, '[')).empty());
    const std::string deepUnknown =
        R"([{"type":"shape","shape":"rect","rect":[0,0,1,1],"lineWidth":1,"opacity":1,"x":)" +
        std::string(100000, '[') + std::string(100000, ']') + "}]";
    EXPECT_EQ(decode(deepUnknown).size(), 1u); // unknown keys are skipped whatever they hold
    EXPECT_TRUE(
        decode(R"([{"type":"shape","shape":"rect","rect":[0,0,1,1],"lineWidth":NaN,"opacity":1}])")
            .empty());
    EXPECT_TRUE(
        decode(
            R"([{"type":"shape","shape":"rect","rect":[0,0,1e400,1],"lineWidth":1,"opacity":1}])")
            .empty());
    EXPECT_TRUE(
        decode(R"([{"type":"stroke","points":[[1e308,1e308]],"lineWidth":1e308,"opacity":1}])")
            .empty());
}
