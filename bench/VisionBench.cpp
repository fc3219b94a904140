#include "vision/VisionAnalyzer.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>

#include <benchmark/benchmark.h>
#include <map>
#include <sys/resource.h>

using namespace vellumix;

namespace {

// A mail client's window as a 1440 × 900 screenshot (drawn at `scale` for a HiDPI one): a dark
// title bar, a toolbar of buttons, a sidebar with a selected row, a message list, a reading pane
// with a heading, paragraphs, a list and a photo attachment, and a status bar. Text from 11 to 24
// points in black, greys, white on dark and white on blue: 70 lines, each drawn as one string.
struct Screenshot {
    QImage image;
    QStringList lines;
};

class ScreenshotPainter {
public:
    ScreenshotPainter(QPainter& painter, QStringList& lines) : m_painter(painter), m_lines(lines) {}

    // Draws `text` with its top-left (or top-right) corner at (x, y).
    double text(double x, double y, const QString& text, int pixels,
                QColor colour = QColor(28, 28, 30), bool bold = false, bool alignRight = false) {
        QFont font(QStringLiteral("DejaVu Sans"));
        font.setPixelSize(pixels);
        font.setBold(bold);
        m_painter.setFont(font);
        m_painter.setPen(colour);
        const QFontMetricsF metrics(font);
        const double width = metrics.horizontalAdvance(text);
        m_painter.drawText(QPointF(alignRight ? x - width : x, y + metrics.ascent()), text);
        m_lines << text;
        return width;
    }

private:
    QPainter& m_painter;
    QStringList& m_lines;
};

void drawChrome(QPainter& p, ScreenshotPainter& t) {
    p.fillRect(QRectF(0, 0, 1440, 36), QColor(43, 43, 46));
    for (int i = 0; i < 3; ++i) {
        p.setBrush(QColor(i == 0 ? 0xff5f57 : i == 1 ? 0xfebc2e : 0x28c840));
        p.setPen(Qt::NoPen);
        p.drawEllipse(QPointF(20 + i * 20, 18), 6, 6);
    }
    t.text(600, 10, QStringLiteral("Inbox - Team Mail"), 14, QColor(236, 236, 236), true);
    t.text(1420, 10, QStringLiteral("Tue 14:32"), 13, QColor(200, 200, 200), false, true);

    p.fillRect(QRectF(0, 36, 1440, 48), QColor(246, 246, 248));
    p.fillRect(QRectF(0, 83, 1440, 1), QColor(220, 220, 224));
    double x = 240;
    for (const char* label : {"New Message", "Reply", "Forward", "Archive", "Delete"}) {
        QFont font(QStringLiteral("DejaVu Sans"));
        font.setPixelSize(13);
        const double width = QFontMetricsF(font).horizontalAdvance(QLatin1String(label)) + 24;
        p.setPen(QColor(200, 200, 206));
        p.setBrush(Qt::white);
        p.drawRoundedRect(QRectF(x, 46, width, 28), 6, 6);
        t.text(x + 12, 52, QString::fromLatin1(label), 13, QColor(40, 40, 44));
        x += width + 10;
    }
    p.setPen(QColor(200, 200, 206));
    p.drawRoundedRect(QRectF(1150, 46, 270, 28), 14, 14);
    t.text(1176, 52, QStringLiteral("Search mail"), 13, QColor(140, 140, 146));

    p.fillRect(QRectF(0, 874, 1440, 26), QColor(246, 246, 248));
    p.fillRect(QRectF(0, 874, 1440, 1), QColor(220, 220, 224));
    t.text(16, 880, QStringLiteral("7 messages, 2 unread"), 12, QColor(100, 100, 106));
    t.text(1420, 880, QStringLiteral("Last synced 2 minutes ago"), 12, QColor(100, 100, 106), false,
           true);
}

void drawSidebar(QPainter& p, ScreenshotPainter& t) {
    p.fillRect(QRectF(0, 84, 220, 790), QColor(240, 240, 243));
    p.fillRect(QRectF(219, 84, 1, 790), QColor(218, 218, 222));
    double y = 100;
    const QColor heading(120, 120, 126);
    t.text(16, y, QStringLiteral("Mailboxes"), 12, heading, true);
    y += 26;
    p.fillRect(QRectF(8, y - 5, 204, 26), QColor(0, 99, 225));
    t.text(28, y, QStringLiteral("Inbox"), 14, Qt::white);
    t.text(200, y + 1, QStringLiteral("12"), 12, Qt::white, true, true);
    y += 28;
    for (const char* name : {"Drafts", "Sent", "Junk", "Trash"}) {
        t.text(28, y, QString::fromLatin1(name), 14);
        y += 28;
    }
    y += 14;
    t.text(16, y, QStringLiteral("Folders"), 12, heading, true);
    y += 26;
    for (const char* name :
         {"Projects", "Invoices 2024", "Travel plans", "Receipts", "Newsletters"}) {
        t.text(28, y, QString::fromLatin1(name), 14);
        y += 28;
    }
}

void drawMessageList(QPainter& p, ScreenshotPainter& t) {
    p.fillRect(QRectF(620, 84, 1, 790), QColor(218, 218, 222));
    struct Row {
        const char* from;
        const char* subject;
        const char* preview;
        const char* date;
    };
    const Row rows[] = {
        {"Dana Whitfield", "Site visit on Thursday", "The contractor confirmed 9:30 at the",
         "09:12"},
        {"Marco Bellini", "Quarterly budget review", "Attached are the revised numbers for", "Mon"},
        {"Priya Raman", "Re: Logo proposals", "I prefer the second option with the", "Mon"},
        {"Build Server", "Nightly build #4821 passed", "All 1,284 tests passed in 14 minutes.",
         "Sun"},
        {"Olivia Chen", "Lunch next week?", "How about Wednesday at the new place", "Sat"},
        {"Tom Gerber", "Contract draft v3", "Please review sections 4 and 7 before", "Fri"},
        {"Helpdesk", "Ticket 5521 resolved", "Your request about the printer on the", "Fri"},
    };
    double y = 96;
    for (const Row& row : rows) {
        if (y == 96) {
            p.fillRect(QRectF(221, y - 8, 399, 92), QColor(230, 239, 252)); // the selected one
        }
        t.text(236, y, QString::fromLatin1(row.from), 14, QColor(28, 28, 30), true);
        t.text(604, y + 1, QString::fromLatin1(row.date), 12, QColor(120, 120, 126), false, true);
        t.text(236, y + 24, QString::fromLatin1(row.subject), 13);
        t.text(236, y + 46, QString::fromLatin1(row.preview), 12, QColor(110, 110, 116));
        p.fillRect(QRectF(236, y + 76, 384, 1), QColor(230, 230, 234));
        y += 92;
    }
}

void drawReadingPane(QPainter& p, ScreenshotPainter& t) {
    const double x = 660;
    const QColor grey(90, 90, 96);
    t.text(x, 108, QStringLiteral("Site visit on Thursday"), 24, QColor(20, 20, 22), true);
    t.text(x, 150, QStringLiteral("From: Dana Whitfield <dana@example.org>"), 13, grey);
    t.text(x, 172, QStringLiteral("To: Design Team"), 13, grey);
    t.text(1410, 150, QStringLiteral("March 14, 2024 at 09:12"), 12, QColor(120, 120, 126), false,
           true);
    p.fillRect(QRectF(x, 200, 750, 1), QColor(225, 225, 229));
    double y = 220;
    for (const char* line :
         {"Hi everyone,",
          "The contractor confirmed that we can visit the site on Thursday morning.",
          "We will meet at the main gate at 9:30 and walk through the ground floor",
          "first. Please bring safety shoes and a helmet; the office has spares."}) {
        t.text(x, y, QString::fromLatin1(line), 15);
        y += 24;
    }
    y += 14;
    t.text(x, y, QStringLiteral("Agenda"), 19, QColor(20, 20, 22), true);
    y += 34;
    for (const char* line : {"1. Walk through the ground floor and the loading bay",
                             "2. Check the new window frames on the east side",
                             "3. Discuss the lighting plan with the electrician",
                             "4. Lunch at the cafe across the street (booked for 12:15)"}) {
        t.text(x + 14, y, QString::fromLatin1(line), 15);
        y += 24;
    }
    y += 14;
    // The attachment: a landscape photo's smooth sky, a hill and the sun.
    QLinearGradient landscape(0, y, 0, y + 170);
    landscape.setColorAt(0, QColor(120, 170, 220));
    landscape.setColorAt(0.6, QColor(200, 220, 235));
    landscape.setColorAt(0.61, QColor(90, 130, 70));
    landscape.setColorAt(1, QColor(50, 80, 40));
    p.fillRect(QRectF(x, y, 280, 170), landscape);
    p.setBrush(QColor(250, 220, 120));
    p.setPen(Qt::NoPen);
    p.drawEllipse(QPointF(x + 210, y + 45), 22, 22);
    t.text(x + 300, y + 60, QStringLiteral("site-plan-east.jpg"), 14, QColor(28, 28, 30), true);
    t.text(x + 300, y + 84, QStringLiteral("JPEG image, 2.4 MB"), 12, QColor(120, 120, 126));
    t.text(x + 300, y + 106, QStringLiteral("Preview"), 13, QColor(0, 99, 225));
    y += 196;
    for (const char* line :
         {"If you cannot make it, reply by Wednesday noon so I can update the list.", "Thanks,",
          "Dana"}) {
        t.text(x, y, QString::fromLatin1(line), 15);
        y += 24;
    }
}

Screenshot mailScreenshot(double scale) {
    Screenshot shot;
    shot.image = QImage(int(1440 * scale), int(900 * scale), QImage::Format_RGB32);
    shot.image.fill(Qt::white);
    QPainter p(&shot.image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(scale, scale);
    ScreenshotPainter t(p, shot.lines);
    drawChrome(p, t);
    drawSidebar(p, t);
    drawMessageList(p, t);
    drawReadingPane(p, t);
    return shot;
}

double processCpuMilliseconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& t) { return t.tv_sec * 1e3 + t.tv_usec / 1e3; };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

QStringList words(const QStringList& lines) {
    QStringList all;
    for (const QString& line : lines) {
        all << line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    }
    return all;
}

// How many of `expected` occur in `found`, each found item matching at most one expected one.
int matches(const QStringList& expected, const QStringList& found) {
    std::map<QString, int> available;
    for (const QString& item : found) {
        ++available[item];
    }
    int matched = 0;
    for (const QString& item : expected) {
        if (available[item] > 0) {
            --available[item];
            ++matched;
        }
    }
    return matched;
}

void analyzeScreenshot(benchmark::State& state, double scale) {
    const Screenshot shot = mailScreenshot(scale);
    // Started engines are part of the running app, not of one analysis.
    VisionAnalysis analysis = VisionAnalyzer::analyze(shot.image);
    const double cpuBefore = processCpuMilliseconds();
    for (auto _ : state) {
        analysis = VisionAnalyzer::analyze(shot.image);
        benchmark::DoNotOptimize(analysis);
    }
    // All threads' processor time: on a busy machine, what the analysis would take on idle cores.
    state.counters["cpu_ms_all_threads"] =
        (processCpuMilliseconds() - cpuBefore) / double(state.iterations());
    QStringList found;
    for (const OCRLine& line : analysis.lines) {
        found << line.text;
    }
    const int lines = matches(shot.lines, found);
    const QStringList expectedWords = words(shot.lines);
    state.counters["lines_verbatim_%"] = 100.0 * lines / shot.lines.size();
    state.counters["word_recall_%"] =
        100.0 * matches(expectedWords, words(found)) / expectedWords.size();
    state.counters["lines_found"] = double(analysis.lines.size());
    state.counters["labels"] = double(analysis.classifications.size());
}

void BM_AnalyzeScreenshot1440x900(benchmark::State& state) {
    analyzeScreenshot(state, 1);
}
void BM_AnalyzeScreenshot2880x1800(benchmark::State& state) {
    analyzeScreenshot(state, 2);
}

} // namespace

// The work runs on the engines' threads: wall-clock time is what a person waits.
BENCHMARK(BM_AnalyzeScreenshot1440x900)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_AnalyzeScreenshot2880x1800)->Unit(benchmark::kMillisecond)->UseRealTime();
