// Redaction proven against the app's own text recognition: secrets drawn at ordinary UI sizes
// are read on the untouched picture and not even in part once redacted and exported as PNG,
// while the text around them still is.

#include "codecs/ImageExport.h"
#include "imaging/Redaction.h"
#include "vision/VisionAnalyzer.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace vellumix::imageops;

// Readable failures: the leaked runs print as text.
QT_BEGIN_NAMESPACE
inline void PrintTo(const QStringList& list, std::ostream* out) {
    *out << '[' << list.join(QStringLiteral(", ")).toStdString() << ']';
}
QT_END_NAMESPACE

namespace {

struct Secret {
    QString text;
    QRectF area; // what a user drags over it, in image pixels
};

struct Page {
    QImage image;
    std::vector<Secret> secrets;
    QStringList innocent;
};

QFont dejaVu(int pixels) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    return font;
}

// Draws `label` then `secret` as one line with its top at y; the secret's area is its ink with
// the two or three pixels of slack of a dragged rectangle.
void drawSecretLine(QPainter& painter, Page& page, double y, int pixels, const QString& label,
                    const QString& secret) {
    const QFont font = dejaVu(pixels);
    const QFontMetricsF metrics(font);
    const QPointF baseline(40, y + metrics.ascent());
    painter.setFont(font);
    painter.drawText(baseline, label + secret);
    const QPointF secretOrigin = baseline + QPointF(metrics.horizontalAdvance(label), 0);
    const QRectF ink = metrics.tightBoundingRect(secret).translated(secretOrigin);
    page.secrets.push_back({secret, ink.adjusted(-2.5, -2.5, 2.5, 2.5)});
}

void drawInnocentLine(QPainter& painter, Page& page, double y, int pixels, const QString& text) {
    const QFont font = dejaVu(pixels);
    painter.setFont(font);
    painter.drawText(QPointF(40, y + QFontMetricsF(font).ascent()), text);
    page.innocent << text;
}

Page secretsPage() {
    Page page;
    page.image = QImage(900, 400, QImage::Format_RGB32);
    page.image.fill(Qt::white);
    QPainter painter(&page.image);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setPen(Qt::black);
    drawInnocentLine(painter, page, 30, 16, QStringLiteral("Project notes for Thursday"));
    drawSecretLine(painter, page, 80, 14, QStringLiteral("Email: "),
                   QStringLiteral("jane.doe@example.com"));
    drawSecretLine(painter, page, 125, 16, QStringLiteral("Key: "),
                   QStringLiteral("sk_live_51HqLyjWDarjtT1zdp7dc"));
    drawSecretLine(painter, page, 170, 15, QStringLiteral("Card: "),
                   QStringLiteral("4242 4242 4242 4242"));
    drawSecretLine(painter, page, 225, 28, QStringLiteral("Reply to "),
                   QStringLiteral("jane.doe@example.com"));
    drawSecretLine(painter, page, 285, 28, QStringLiteral("Token "),
                   QStringLiteral("sk_live_51HqLyjWDarjtT1zdp7dc"));
    drawInnocentLine(painter, page, 350, 14, QStringLiteral("Please send questions by Friday"));
    return page;
}

// Compared without case and whitespace, as a reader would piece a secret together.
QString normalised(const QString& text) {
    QString out;
    for (const QChar c : text) {
        if (!c.isSpace()) {
            out += c.toLower();
        }
    }
    return out;
}

QString recognisedText(const VisionAnalysis& analysis) {
    QStringList lines;
    for (const OCRLine& line : analysis.lines) {
        lines << line.text;
    }
    return lines.join(QLatin1Char('\n'));
}

// Every run of four or more characters of a secret that the recognised text contains (the runs
// of four suffice: a longer run contains one).
QStringList leakedRuns(const QString& recognised, const QString& secret) {
    const QString haystack = normalised(recognised);
    const QString needle = normalised(secret);
    QStringList leaks;
    for (qsizetype i = 0; i + 4 <= needle.size(); ++i) {
        if (haystack.contains(needle.mid(i, 4))) {
            leaks << needle.mid(i, 4);
        }
    }
    return leaks;
}

// Encoded by the app's exporter and read back, as the file a user shares.
QImage exported(const QImage& image) {
    const Result<QByteArray> png = encodeImage(image, ExportFormat::png);
    if (!png) {
        ADD_FAILURE() << png.error().message.toStdString();
        return {};
    }
    return QImage::fromData(*png, "PNG");
}

class RedactionOcr : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        page = new Page(secretsPage());
        original = new VisionAnalysis(VisionAnalyzer::analyze(exported(page->image)));
    }
    static void TearDownTestSuite() {
        delete page;
        delete original;
        page = nullptr;
        original = nullptr;
    }

    static std::vector<QRectF> recognisedLineRects() { return lineRects(*original); }

    // Redacts every secret in `style`, exports, reads back, and checks that no secret leaks
    // and that the innocent lines are still read.
    static void expectHidden(RedactionStyle style, const std::vector<QRectF>& textLines) {
        std::vector<RedactionArea> areas;
        for (const Secret& secret : page->secrets) {
            areas.push_back({secret.area, style});
        }
        const QImage redacted =
            exported(redact(page->image, areas, Color::black(), textLines, 0x5eed));
        ASSERT_EQ(redacted.size(), page->image.size());
        const QString recognised = recognisedText(VisionAnalyzer::analyze(redacted));
        SCOPED_TRACE("recognised: " + recognised.toStdString());
        for (const Secret& secret : page->secrets) {
            EXPECT_EQ(leakedRuns(recognised, secret.text), QStringList())
                << secret.text.toStdString();
        }
        for (const QString& line : page->innocent) {
            EXPECT_TRUE(normalised(recognised).contains(normalised(line))) << line.toStdString();
        }
    }

    static inline Page* page = nullptr;
    static inline VisionAnalysis* original = nullptr;
};

} // namespace

TEST_F(RedactionOcr, EverySecretIsReadOnTheUnredactedPicture) {
    const QString recognised = recognisedText(*original);
    SCOPED_TRACE("recognised: " + recognised.toStdString());
    for (const Secret& secret : page->secrets) {
        EXPECT_TRUE(normalised(recognised).contains(normalised(secret.text)))
            << secret.text.toStdString();
    }
    for (const QString& line : page->innocent) {
        EXPECT_TRUE(normalised(recognised).contains(normalised(line))) << line.toStdString();
    }
}

TEST_F(RedactionOcr, FilledSecretsAreNotReadEvenInPart) {
    expectHidden(RedactionStyle::fill, {});
}

TEST_F(RedactionOcr, PixelatedSecretsAreNotReadEvenInPart) {
    // As the editor does it: blocks sized by the lines its analysis found.
    expectHidden(RedactionStyle::pixelate, recognisedLineRects());
}

TEST_F(RedactionOcr, PixelatedSecretsAreNotReadWithTheSmallestBlocksEither) {
    // Without an analysis every area gets the minimum blocks, less than half the height of the
    // 28-pixel lines.
    expectHidden(RedactionStyle::pixelate, {});
}
