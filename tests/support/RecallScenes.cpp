#include "support/RecallScenes.h"

#include "imaging/Redaction.h"
#include "vision/VisionAnalyzer.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <random>
#include <xcb/xcb.h>

namespace vellumix::recall {

namespace {

// --- Secrets ---------------------------------------------------------------------------------

class Planter {
public:
    explicit Planter(unsigned seed) : m_random(seed) {}

    QString from(QStringView alphabet, int count) {
        QString text;
        for (int i = 0; i < count; ++i) {
            text += alphabet[qsizetype(m_random() % alphabet.size())];
        }
        return text;
    }
    int number(int low, int high) { return low + int(m_random() % unsigned(high - low + 1)); }
    QString pick(const QStringList& items) { return items[qsizetype(m_random() % items.size())]; }

    QString email() {
        return pick({"jane", "omar", "lena", "marco", "priya"}) + u'.' +
               pick({"doe", "haddad", "berg", "rossi", "nair"}) + QString::number(number(10, 99)) +
               u'@' + pick({"mailbox.org", "corpmail.net", "inbox.dev"});
    }
    QString accessKey() {
        return QStringLiteral("AKIA") + from(u"ABCDEFGHIJKLMNOPQRSTUVWXYZ234567", 16);
    }
    QString secretKey() { return from(base64, 40); }
    QString githubToken() { return QStringLiteral("ghp_") + from(alnum, 36); }
    QString password() { return from(alnum, 4) + from(u"0123456789", 2) + from(alnum, 5); }
    QString ipv4() {
        return QStringLiteral("%1.%2.%3.%4")
            .arg(number(11, 223))
            .arg(number(0, 255))
            .arg(number(0, 255))
            .arg(number(1, 254));
    }
    QString jwt() {
        const QByteArray payload =
            QStringLiteral(R"({"sub":"%1","admin":true})")
                .arg(number(100000, 999999))
                .toUtf8()
                .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
        return QStringLiteral("eyJhbGciOiJIUzI1NiJ9.") + QString::fromLatin1(payload) + u'.' +
               from(base64url, 43);
    }
    // A Luhn-valid Visa number in groups of four.
    QString card() {
        std::vector<int> digits{4};
        while (digits.size() < 15) {
            digits.push_back(number(0, 9));
        }
        int sum = 0;
        for (std::size_t i = 0; i < digits.size(); ++i) {
            int d = digits[digits.size() - 1 - i];
            d = i % 2 == 0 ? (d * 2 > 9 ? d * 2 - 9 : d * 2) : d;
            sum += d;
        }
        digits.push_back((10 - sum % 10) % 10);
        QString text;
        for (std::size_t i = 0; i < digits.size(); ++i) {
            if (i > 0 && i % 4 == 0) {
                text += u' ';
            }
            text += QString::number(digits[i]);
        }
        return text;
    }
    QString phone() {
        return QStringLiteral("+44 20 7946 %1").arg(number(0, 9999), 4, 10, QLatin1Char('0'));
    }

private:
    static constexpr QStringView alnum =
        u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    static constexpr QStringView base64 =
        u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    static constexpr QStringView base64url =
        u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::mt19937 m_random;
};

// The text a scene's program shows, with the secrets in it and the lines that hold none.
struct Content {
    QStringList lines;
    QStringList secrets;
    QStringList innocent;
};

// A shell session: a commit's author, an env file with cloud keys and a token, a database URL,
// an ssh target, a bearer JWT, a card and a phone number.
Content terminalContent(Planter& p) {
    Content c;
    const QString email = p.email(), access = p.accessKey(), secret = p.secretKey(),
                  token = p.githubToken(), password = p.password(), dbHost = p.ipv4(),
                  target = QStringLiteral("deploy@") + p.ipv4(), jwt = p.jwt(), card = p.card(),
                  phone = p.phone();
    c.secrets = {email, access, secret, token, password, dbHost, target, jwt, card, phone};
    c.innocent = {QStringLiteral("$ git log -1 --format='%an <%ae>'"), QStringLiteral("$ cat .env"),
                  QStringLiteral("Documents Downloads notes.txt report-2024.pdf")};
    c.lines = {c.innocent[0],
               QStringLiteral("Jane Doe <") + email + u'>',
               c.innocent[1],
               QStringLiteral("AWS_ACCESS_KEY_ID=") + access,
               QStringLiteral("AWS_SECRET_ACCESS_KEY=") + secret,
               QStringLiteral("GITHUB_TOKEN=") + token,
               QStringLiteral("DATABASE_URL=postgres://app:") + password + u'@' + dbHost +
                   QStringLiteral(":5432/orders"),
               QStringLiteral("$ ssh ") + target,
               QStringLiteral("$ curl -H \"Authorization: Bearer ") + jwt +
                   QStringLiteral("\" https://api.acme.test/me"),
               QStringLiteral("card ") + card + QStringLiteral("   phone ") + phone,
               QStringLiteral("$ ls"),
               c.innocent[2]};
    return c;
}

// A settings dialog: "Label\tValue" rows.
Content dialogContent(Planter& p) {
    Content c;
    const QString host = p.ipv4(), password = p.password(),
                  key = QStringLiteral("sk_live_") +
                        p.from(u"ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz23456789", 24),
                  email = p.email(), phone = p.phone(), hook = p.from(u"abcdef0123456789", 24);
    c.secrets = {host, password, key, email, phone, hook};
    c.innocent = {QStringLiteral("Connection name"), QStringLiteral("Staging database"),
                  QStringLiteral("Remember this connection")};
    c.lines = {QStringLiteral("Connection name\tStaging database"),
               QStringLiteral("Server\t") + host,
               QStringLiteral("User name\tadmin"),
               QStringLiteral("Password\t") + password,
               QStringLiteral("API key\t") + key,
               QStringLiteral("Contact e-mail\t") + email,
               QStringLiteral("Phone\t") + phone,
               QStringLiteral("Webhook\thttps://hooks.example.com/deploy?token=") + hook,
               QStringLiteral("Remember this connection\t")};
    return c;
}

// A page of prose in a proportional face, as in a text editor or a mail.
Content pageContent(Planter& p) {
    Content c;
    const QString ip = p.ipv4(), email = p.email(),
                  key = QStringLiteral("sk_live_") +
                        p.from(u"ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz23456789", 24),
                  reset = p.from(u"ABCDEFGHJKLMNPQRSTUVWXYZ23456789", 20), card = p.card(),
                  phone = p.phone();
    c.secrets = {ip, email, key, reset, card, phone};
    c.innocent = {QStringLiteral("Incident report for the weekly review"),
                  QStringLiteral("Next steps are tracked on the project board.")};
    c.lines = {c.innocent[0],
               QStringLiteral("Requests from ") + ip +
                   QStringLiteral(" failed with status 401 during the migration."),
               QStringLiteral("The engineer on call (") + email +
                   QStringLiteral(") rotated the key ") + key + u'.',
               QStringLiteral("Password reset link: https://accounts.example.com/reset?token=") +
                   reset,
               QStringLiteral("The card ") + card + QStringLiteral(" was charged twice; call ") +
                   phone + QStringLiteral(" back."),
               c.innocent[1]};
    return c;
}

// --- The X server and the windows ------------------------------------------------------------

// The root window's pixels in `rect` as an RGB32 image.
QImage grabRoot(const QString& display, const QRect& rect) {
    xcb_connection_t* connection = xcb_connect(qPrintable(display), nullptr);
    QImage image;
    if (!xcb_connection_has_error(connection)) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        xcb_get_image_reply_t* reply = xcb_get_image_reply(
            connection,
            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, qint16(rect.x()),
                          qint16(rect.y()), quint16(rect.width()), quint16(rect.height()), ~0u),
            nullptr);
        if (reply && reply->depth == 24) {
            image = QImage(xcb_get_image_data(reply), rect.width(), rect.height(), rect.width() * 4,
                           QImage::Format_RGB32)
                        .copy();
        }
        free(reply);
    }
    xcb_disconnect(connection);
    return image;
}

// The window titled `title` on `display`, once it is mapped: its place on the screen.
std::optional<QRect> windowRect(const QString& display, const QString& title) {
    QProcess search;
    search.setProcessEnvironment([&] {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), display);
        return env;
    }());
    const QStringList arguments = {
        QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--onlyvisible"),
        QStringLiteral("--name"), u'^' + title + u'$',      QStringLiteral("getwindowgeometry"),
        QStringLiteral("--shell")};
    search.start(QStringLiteral("xdotool"), arguments);
    if (!search.waitForFinished(15000)) {
        search.kill();
        search.waitForFinished();
        return std::nullopt;
    }
    QRect rect;
    for (const QString& line :
         QString::fromLocal8Bit(search.readAllStandardOutput()).split(u'\n')) {
        const QString value = line.section(u'=', 1);
        if (line.startsWith(u"X=")) {
            rect.moveLeft(value.toInt());
        } else if (line.startsWith(u"Y=")) {
            rect.moveTop(value.toInt());
        } else if (line.startsWith(u"WIDTH=")) {
            rect.setWidth(value.toInt());
        } else if (line.startsWith(u"HEIGHT=")) {
            rect.setHeight(value.toInt());
        }
    }
    return rect.isEmpty() ? std::nullopt : std::optional(rect);
}

// The window's pixels once two grabs a moment apart agree (it has finished drawing).
QImage settledGrab(const QString& display, const QRect& rect) {
    QImage last;
    for (int attempt = 0; attempt < 50; ++attempt) {
        QThread::msleep(150);
        QImage now = grabRoot(display, rect);
        if (!now.isNull() && now == last) {
            return now;
        }
        last = std::move(now);
    }
    return last;
}

} // namespace

QString SceneSpec::name() const {
    const char* names[] = {"terminal", "dialog", "page"};
    return QStringLiteral("%1 %2 pt %3")
        .arg(QString::fromLatin1(names[int(program)]))
        .arg(points)
        .arg(dark ? QStringLiteral("dark") : QStringLiteral("light"));
}

XServer::XServer() {
    if (QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty()) {
        return;
    }
    // The server picks a free display and says which on standard output.
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                    QStringLiteral("0"), QStringLiteral("1920x1080x24"),
                    QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    if (!m_server.waitForStarted() || !m_server.waitForReadyRead(10000)) {
        return;
    }
    const QString number = QString::fromLatin1(m_server.readAllStandardOutput()).trimmed();
    if (!number.isEmpty()) {
        m_display = u':' + number;
    }
}

XServer::~XServer() {
    m_server.terminate();
    m_server.waitForFinished();
}

std::optional<Scene> XServer::capture(const SceneSpec& spec, unsigned seed,
                                      const QString& windowHelper) const {
    if (m_display.isEmpty()) {
        return std::nullopt;
    }
    Planter planter(seed);
    const Content content = spec.program == Program::terminal ? terminalContent(planter)
                            : spec.program == Program::dialog ? dialogContent(planter)
                                                              : pageContent(planter);
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("content.txt"));
    QFile out(file);
    if (!out.open(QIODevice::WriteOnly)) {
        return std::nullopt;
    }
    // The terminal's cursor is hidden, as it would stand out as a block.
    out.write(
        (spec.program == Program::terminal ? QStringLiteral("\x1b[?25l") : QString()).toUtf8() +
        content.lines.join(u'\n').toUtf8());
    out.close();

    const QString title = QStringLiteral("recall-%1").arg(seed);
    QProcess program;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), m_display);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    program.setProcessEnvironment(env);
    if (spec.program == Program::terminal) {
        program.start(QStringLiteral("xterm"),
                      {QStringLiteral("-geometry"), QStringLiteral("150x13+0+0"),
                       QStringLiteral("-fa"), QStringLiteral("DejaVu Sans Mono"),
                       QStringLiteral("-fs"), QString::number(spec.points), QStringLiteral("-bg"),
                       spec.dark ? QStringLiteral("#1e1e1e") : QStringLiteral("#ffffff"),
                       QStringLiteral("-fg"),
                       spec.dark ? QStringLiteral("#d4d4d4") : QStringLiteral("#000000"),
                       QStringLiteral("-T"), title, QStringLiteral("-e"), QStringLiteral("sh"),
                       QStringLiteral("-c"), QStringLiteral("cat '%1'; exec sleep 600").arg(file)});
    } else {
        program.start(
            windowHelper,
            {spec.program == Program::dialog ? QStringLiteral("dialog") : QStringLiteral("page"),
             QString::number(spec.points),
             spec.dark ? QStringLiteral("dark") : QStringLiteral("light"), file, title});
    }
    std::optional<Scene> scene;
    if (program.waitForStarted()) {
        if (const std::optional<QRect> rect = windowRect(m_display, title)) {
            scene = Scene{spec, settledGrab(m_display, *rect), content.secrets, content.innocent};
        }
    }
    program.kill();
    program.waitForFinished();
    if (scene && scene->image.isNull()) {
        scene.reset();
    }
    return scene;
}

// --- Scoring ---------------------------------------------------------------------------------

namespace {

// As a reader would piece text together: no white space, no case, and OCR's commonest
// confusions folded together.
QString folded(const QString& text) {
    QString out;
    for (QChar c : text) {
        if (c.isSpace()) {
            continue;
        }
        c = c.toLower();
        out += c == u'o' ? u'0' : (c == u'l' || c == u'i' || c == u'|') ? u'1' : c;
    }
    return out;
}

// All that OCR reads, however unsure of it: a reader would take that too.
QString allText(const VisionAnalysis& analysis) {
    QStringList lines;
    for (const auto* list : {&analysis.lines, &analysis.doubtfulLines}) {
        for (const OCRLine& line : *list) {
            lines << line.text;
        }
    }
    return lines.join(u'\n');
}

// The runs of 5 characters of `secret` found in `text` (both folded).
QStringList readableRuns(const QString& text, const QString& secret) {
    QStringList runs;
    for (qsizetype i = 0; i + 5 <= secret.size(); ++i) {
        if (text.contains(secret.mid(i, 5))) {
            runs << secret.mid(i, 5);
        }
    }
    return runs;
}

} // namespace

Outcome evaluate(const Scene& scene) {
    Outcome outcome;
    outcome.analysis = VisionAnalyzer::analyze(scene.image);
    const std::vector<SensitiveMatch> matches = findSensitiveText(outcome.analysis);
    std::vector<imageops::RedactionArea> areas;
    const std::vector<QRectF> lines = lineRects(outcome.analysis);
    QStringList foldedSecrets;
    for (const QString& secret : scene.secrets) {
        foldedSecrets << folded(secret);
    }
    for (const SensitiveMatch& match : matches) {
        areas.push_back({redactionAreaFor(match.rect, scene.image.size(), lines)});
        const QString text =
            analysisLine(outcome.analysis, match.lineIndex).text.mid(match.start, match.length);
        const QString mark = folded(text);
        const bool planted =
            std::any_of(foldedSecrets.begin(), foldedSecrets.end(), [&](const QString& secret) {
                return mark.size() < 5 ? secret.contains(mark)
                                       : !readableRuns(secret, mark).isEmpty();
            });
        if (!planted) {
            outcome.falseMarks << text;
        }
    }
    outcome.marks = int(matches.size());
    outcome.redacted = imageops::redact(scene.image, areas, Color::black(), {}, 0x5eed);
    outcome.read = allText(outcome.analysis);
    const QString before = folded(outcome.read);
    outcome.reread = allText(VisionAnalyzer::analyze(outcome.redacted));
    const QString after = folded(outcome.reread);
    outcome.planted = int(scene.secrets.size());
    for (int i = 0; i < outcome.planted; ++i) {
        const QStringList runs = readableRuns(after, foldedSecrets[i]);
        if (runs.isEmpty()) {
            ++outcome.hidden;
        } else {
            outcome.leaks << scene.secrets[i] + QStringLiteral(": ") + runs.join(u' ');
        }
    }
    for (const QString& line : scene.innocent) {
        if (before.contains(folded(line)) && !after.contains(folded(line))) {
            outcome.innocentLost << line;
        }
    }
    return outcome;
}

} // namespace vellumix::recall
