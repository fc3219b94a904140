#include "vision/VisionAnalyzer.h"

#include "support/TextPictures.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <thread>

using namespace vellumix;

// Readable failures: lists of lines print as text, not as bytes.
QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}
QT_END_NAMESPACE

using vellumix::test::texts;

namespace {

struct Drawn {
    QString text;
    QRectF ink; // the glyphs' bounds, in image pixels
    OCRLineSize size = OCRLineSize::regular;
};

struct Page {
    QImage image;
    std::vector<Drawn> lines;
};

QFont font(int pixels, bool bold = false) {
    QFont f(QStringLiteral("DejaVu Sans"));
    f.setPixelSize(pixels);
    f.setBold(bold);
    return f;
}

// Draws `text` with its top-left corner at (x, y) in unscaled units and records its ink bounds.
void drawLine(QPainter& painter, Page& page, double scale, QPointF at, const QString& text,
              int pixels, OCRLineSize size, bool bold = false, QColor colour = Qt::black) {
    const QFont f = font(pixels, bold);
    const QFontMetricsF metrics(f);
    const QPointF baseline(at.x(), at.y() + metrics.ascent());
    painter.setFont(f);
    painter.setPen(colour);
    painter.drawText(baseline, text);
    const QRectF ink = metrics.tightBoundingRect(text).translated(baseline);
    page.lines.push_back({text, QRectF(ink.topLeft() * scale, ink.size() * scale), size});
}

// A report page with text at four sizes: a 48-pixel heading (about three times the body
// lines' height: xlarge), a 28-pixel subheading (about 1.8 times: large), four 16-pixel body
// lines (the median: regular) and a 9-pixel footnote (about 0.6 times: small).
Page reportPage(double scale) {
    Page page;
    page.image = QImage(QSize(1000, 560) * scale, QImage::Format_RGB32);
    page.image.fill(Qt::white);
    QPainter painter(&page.image);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.scale(scale, scale);
    drawLine(painter, page, scale, {60, 40}, QStringLiteral("Harbour project review"), 48,
             OCRLineSize::xlarge, true);
    drawLine(painter, page, scale, {60, 140}, QStringLiteral("Budget and timeline"), 28,
             OCRLineSize::large, true);
    const char* body[] = {"The design team met on Tuesday to go through the plans.",
                          "We agreed to keep the budget below eight thousand.",
                          "Quality checks will begin in the second week of July.",
                          "Please send your questions by Friday afternoon."};
    double y = 210;
    for (const char* line : body) {
        drawLine(painter, page, scale, {60, y}, QString::fromLatin1(line), 16,
                 OCRLineSize::regular);
        y += 40;
    }
    drawLine(painter, page, scale, {60, 480},
             QStringLiteral("Figures are rounded to the nearest hundred."), 9, OCRLineSize::small);
    return page;
}

QStringList texts(const std::vector<Drawn>& lines) {
    QStringList all;
    for (const Drawn& line : lines) {
        all << line.text;
    }
    return all;
}

// The recognised box covers the drawn glyphs, give or take a few pixels of anti-aliasing.
void expectCovers(const QRectF& box, const QRectF& ink, double slack) {
    EXPECT_NEAR(box.left(), ink.left(), slack);
    EXPECT_NEAR(box.right(), ink.right(), slack);
    EXPECT_NEAR(box.top(), ink.top(), slack);
    EXPECT_NEAR(box.bottom(), ink.bottom(), slack);
}

// A landscape: sky and hills in smooth gradients under camera grain, and a sun.
QImage landscapePhoto() {
    QImage image(900, 600, QImage::Format_RGB32);
    std::mt19937 random(7);
    std::normal_distribution<double> grain(0, 7);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const double hill = 340 + 45 * std::sin(x / 100.0) + 20 * std::sin(x / 35.0);
            double r, g, b;
            if (y < hill) {
                const double t = y / hill;
                r = 110 + 90 * t, g = 160 + 60 * t, b = 230 - 10 * t;
            } else {
                const double t = (y - hill) / (image.height() - hill);
                r = 70 - 30 * t + 20 * std::sin(x / 9.0 + y / 13.0);
                g = 120 - 40 * t + 25 * std::sin(x / 7.0), b = 50 - 20 * t;
            }
            if (std::hypot(x - 680, y - 130) < 45) {
                r = 255, g = 235, b = 150;
            }
            auto level = [&](double v) { return std::clamp(int(v + grain(random)), 0, 255); };
            image.setPixel(x, y, qRgb(level(r), level(g), level(b)));
        }
    }
    return image;
}

// A drawn face: hair, a shaded oval, brows, eyes, a nose and a mouth on a plain background.
QImage drawnFace() {
    QImage image(640, 480, QImage::Format_RGB32);
    image.fill(QColor(90, 110, 130));
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(50, 35, 25));
    p.drawEllipse(QPointF(320, 170), 125, 110);
    QRadialGradient skin(320, 230, 150);
    skin.setColorAt(0, QColor(235, 195, 165));
    skin.setColorAt(1, QColor(190, 140, 110));
    p.setBrush(skin);
    p.drawEllipse(QPointF(320, 240), 105, 135);
    p.setBrush(QColor(60, 40, 30));
    p.drawRoundedRect(QRectF(245, 185, 60, 10), 4, 4);
    p.drawRoundedRect(QRectF(335, 185, 60, 10), 4, 4);
    for (double x : {275.0, 365.0}) {
        p.setBrush(Qt::white);
        p.drawEllipse(QPointF(x, 215), 22, 11);
        p.setBrush(QColor(40, 30, 20));
        p.drawEllipse(QPointF(x, 215), 9, 9);
    }
    p.setBrush(QColor(200, 150, 120));
    QPainterPath nose;
    nose.moveTo(320, 225);
    nose.lineTo(305, 285);
    nose.lineTo(335, 285);
    p.drawPath(nose);
    p.setBrush(QColor(150, 60, 60));
    p.drawEllipse(QPointF(320, 320), 35, 11);
    return image;
}

// A settings window: a dark title bar, a sidebar of sections, labelled fields and buttons.
QImage settingsWindow() {
    QImage image(1100, 700, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter p(&image);
    Page ignored;
    p.fillRect(QRectF(0, 0, 1100, 34), QColor(45, 45, 48));
    drawLine(p, ignored, 1, {480, 9}, QStringLiteral("Preferences"), 14, OCRLineSize::regular, true,
             QColor(235, 235, 235));
    p.fillRect(QRectF(0, 34, 220, 666), QColor(241, 241, 244));
    p.fillRect(QRectF(220, 34, 1, 666), QColor(210, 210, 214));
    double y = 56;
    for (const char* section : {"General", "Appearance", "Accounts", "Notifications", "Privacy",
                                "Shortcuts", "Updates"}) {
        drawLine(p, ignored, 1, {24, y}, QString::fromLatin1(section), 14, OCRLineSize::regular);
        y += 32;
    }
    y = 60;
    for (const char* label : {"Display name", "Email address", "Language", "Time zone",
                              "Start page", "Download folder"}) {
        drawLine(p, ignored, 1, {260, y}, QString::fromLatin1(label), 14, OCRLineSize::regular);
        p.setPen(QColor(190, 190, 196));
        p.setBrush(Qt::white);
        p.drawRect(QRectF(460, y - 6, 400, 30));
        y += 56;
    }
    for (const auto& [x, label] : {std::pair(760.0, "Cancel"), std::pair(880.0, "Save")}) {
        p.setPen(QColor(190, 190, 196));
        p.setBrush(QColor(246, 246, 248));
        p.drawRect(QRectF(x, 620, 100, 32));
        drawLine(p, ignored, 1, {x + 24, 627}, QString::fromLatin1(label), 14,
                 OCRLineSize::regular);
    }
    return image;
}

} // namespace

TEST(VisionAnalyzerText, KnownLinesComeBackVerbatimWithTheirBoxesAndSizes) {
    // At three times the size the glyphs are well above what the engines need: the picture is
    // read scaled down, and the boxes still come back in the image's own pixels.
    for (const auto& [scale, tolerance] : {std::pair{1, 3}, std::pair{3, 6}}) {
        SCOPED_TRACE(scale);
        const Page page = reportPage(scale);
        const VisionAnalysis analysis = VisionAnalyzer::analyze(page.image);
        ASSERT_EQ(texts(analysis), texts(page.lines));
        for (size_t i = 0; i < page.lines.size(); ++i) {
            SCOPED_TRACE(page.lines[i].text.toStdString());
            expectCovers(analysis.lines[i].rect, page.lines[i].ink, tolerance);
            EXPECT_EQ(analysis.lines[i].relativeSize, page.lines[i].size);
        }
    }
}

TEST(VisionAnalyzerText, LightTextOnDarkBarsIsRead) {
    QImage image(900, 300, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    Page page;
    painter.fillRect(QRectF(0, 0, 900, 40), QColor(40, 40, 44));
    drawLine(painter, page, 1, {300, 11}, QStringLiteral("Quarterly Report Draft"), 15,
             OCRLineSize::regular, true, QColor(230, 230, 230));
    painter.fillRect(QRectF(40, 120, 260, 30), QColor(0, 99, 225));
    drawLine(painter, page, 1, {56, 127}, QStringLiteral("Selected folder"), 14,
             OCRLineSize::regular, false, Qt::white);
    drawLine(painter, page, 1, {40, 220}, QStringLiteral("Dark text on white paper"), 16,
             OCRLineSize::regular);
    painter.end();
    EXPECT_EQ(texts(VisionAnalyzer::analyze(image)), texts(page.lines));
}

TEST(VisionAnalyzerText, ALongPageReadInBandsGivesEveryLineOnceInOrder) {
    // Tall enough for every engine to get several bands; every line is different, so a line
    // read twice, cut in two or lost shows.
    const char* names[] = {"Alice Morgan", "Brian Lewis", "Carla Diaz", "David Young",
                           "Emma Brooks"};
    const char* tasks[] = {"checked the crane", "signed the report", "painted the fence",
                           "cleaned the dock", "tested the pumps"};
    QImage image(1000, 2480, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    Page page;
    for (int i = 0; i < 50; ++i) {
        const QString line = QStringLiteral("%1 %2 on day %3")
                                 .arg(QLatin1String(names[i % 5]))
                                 .arg(QLatin1String(tasks[(i / 5) % 5]))
                                 .arg(i + 1);
        drawLine(painter, page, 1, {50, 30.0 + 48 * i}, line, 17, OCRLineSize::regular);
    }
    painter.end();
    EXPECT_EQ(texts(VisionAnalyzer::analyze(image)), texts(page.lines));
}

TEST(VisionAnalyzerLabels, PicturesAreLabelledByWhatTheyShow) {
    const VisionAnalysis window = VisionAnalyzer::analyze(settingsWindow());
    EXPECT_TRUE(window.classifications.contains(QStringLiteral("screenshot")))
        << window.classifications.join(u',').toStdString();
    EXPECT_FALSE(window.classifications.contains(QStringLiteral("photo")));

    const VisionAnalysis photo = VisionAnalyzer::analyze(landscapePhoto());
    EXPECT_EQ(photo.classifications.value(0), QStringLiteral("photo"))
        << photo.classifications.join(u',').toStdString();
    EXPECT_FALSE(photo.classifications.contains(QStringLiteral("screenshot")));
    EXPECT_FALSE(photo.classifications.contains(QStringLiteral("face")));

    const VisionAnalysis face = VisionAnalyzer::analyze(drawnFace());
    EXPECT_TRUE(face.classifications.contains(QStringLiteral("face")))
        << face.classifications.join(u',').toStdString();
    EXPECT_TRUE(face.classifications.contains(QStringLiteral("person")));
    EXPECT_FALSE(face.classifications.contains(QStringLiteral("screenshot")));

    for (const VisionAnalysis* analysis : {&window, &photo, &face}) {
        EXPECT_LE(analysis->classifications.size(), 6);
        QStringList labels = analysis->classifications;
        EXPECT_EQ(labels.removeDuplicates(), 0);
    }
}

TEST(VisionAnalyzerRegions, AnObjectOnAPlainGroundIsSalient) {
    QImage image(800, 500, QImage::Format_RGB32);
    image.fill(QColor(70, 75, 80));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(250, 160, 40));
    painter.drawEllipse(QPointF(560, 180), 70, 70);
    painter.end();

    const VisionAnalysis analysis = VisionAnalyzer::analyze(image);
    ASSERT_FALSE(analysis.salientRegions.empty());
    const SalientRegion& region = analysis.salientRegions.front();
    EXPECT_TRUE(region.rect.contains(QPointF(560, 180)))
        << region.rect.x() << "," << region.rect.y();
    // Around the disc (140 across), not the whole picture.
    EXPECT_LT(region.rect.width(), 400);
    EXPECT_LT(region.rect.height(), 400);
    for (const SalientRegion& r : analysis.salientRegions) {
        EXPECT_GE(r.confidence, 0.3f);
        EXPECT_TRUE(QRectF(0, 0, 800, 500).contains(r.rect));
    }
}

TEST(VisionAnalyzerFailures, NothingToAnalyseGivesTheEmptyAnalysis) {
    const VisionAnalysis none = VisionAnalyzer::analyze(QImage());
    EXPECT_TRUE(none.lines.empty());
    EXPECT_TRUE(none.classifications.isEmpty());
    EXPECT_TRUE(none.salientRegions.empty());

    QImage pixel(1, 1, QImage::Format_RGB32);
    pixel.fill(Qt::white);
    EXPECT_TRUE(VisionAnalyzer::analyze(pixel).lines.empty());

    const std::atomic<bool> cancelled{true};
    const VisionAnalysis skipped = VisionAnalyzer::analyze(reportPage(1).image, &cancelled);
    EXPECT_TRUE(skipped.lines.empty());
    EXPECT_TRUE(skipped.classifications.isEmpty());
}

TEST(VisionAnalyzerText, TranslucentPicturesAreReadAsShownOnWhite) {
    // Black text on a fully transparent picture: its transparent pixels are black too, so only
    // the alpha tells the text from the ground.
    QImage image(700, 120, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    Page page;
    drawLine(painter, page, 1, {30, 40}, QStringLiteral("Overlay caption text"), 20,
             OCRLineSize::regular);
    painter.end();
    EXPECT_EQ(texts(VisionAnalyzer::analyze(image)), texts(page.lines));
}

TEST(VisionAnalyzerText, AnalysesFromTwoThreadsAtOnceKeepTheirOwnText) {
    auto caption = [](const QString& text) {
        QImage image(600, 100, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        Page page;
        drawLine(painter, page, 1, {20, 30}, text, 22, OCRLineSize::regular);
        return image;
    };
    const QImage first = caption(QStringLiteral("Morning delivery schedule"));
    const QImage second = caption(QStringLiteral("Evening cleaning rota"));
    QStringList firstTexts, secondTexts;
    std::thread other([&] { secondTexts = texts(VisionAnalyzer::analyze(second)); });
    firstTexts = texts(VisionAnalyzer::analyze(first));
    other.join();
    EXPECT_EQ(firstTexts, QStringList{QStringLiteral("Morning delivery schedule")});
    EXPECT_EQ(secondTexts, QStringList{QStringLiteral("Evening cleaning rota")});
}
