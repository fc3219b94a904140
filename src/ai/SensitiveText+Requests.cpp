#include "SensitiveText.h"

#include <QStringList>

#include <algorithm>

namespace vellumix {

namespace {

constexpr SensitiveKinds tokenLikeKinds =
    SensitiveKind::tokenUrl | SensitiveKind::jwt | SensitiveKind::secret;

// The request's words, lower-cased; hyphens and apostrophes join ("e-mail" → "email",
// "IP's" → "ips", "black-out" → "blackout").
QStringList requestWords(const QString& query) {
    QString folded;
    folded.reserve(query.size());
    for (QChar c : query) {
        if (c.isLetterOrNumber()) {
            folded += c.toLower();
        } else if (c != u'-' && c != u'\'' && c != u'\u2019') {
            folded += u' ';
        }
    }
    return folded.split(u' ', Qt::SkipEmptyParts);
}

bool isOneOf(const QString& word, std::initializer_list<QStringView> words) {
    return std::find(words.begin(), words.end(), QStringView(word)) != words.end();
}

// Enough on their own: "redact this".
bool isStandaloneVerb(const QString& word) {
    return isOneOf(word, {u"redact", u"redacts", u"redacted", u"redacting", u"redaction", u"censor",
                          u"censors", u"censored", u"censoring"});
}

// Redaction verbs that need a sensitive noun: "blur the background" is an image edit.
bool isVerb(const QStringList& words, qsizetype i) {
    const QString& word = words[i];
    const bool next = i + 1 < words.size();
    if ((word == u"black" || word == u"white") && next && words[i + 1] == u"out") {
        return true;
    }
    return isOneOf(word,
                   {u"hide",        u"hides",     u"hiding",     u"blur",       u"blurs",
                    u"blurred",     u"blurring",  u"pixelate",   u"pixelates",  u"pixelated",
                    u"pixelating",  u"pixelise",  u"pixelize",   u"pixelised",  u"pixelized",
                    u"blackout",    u"blacken",   u"mask",       u"masks",      u"masked",
                    u"masking",     u"obscure",   u"obscures",   u"obscured",   u"obscuring",
                    u"anonymise",   u"anonymize", u"anonymised", u"anonymized", u"anonymising",
                    u"anonymizing", u"remove",    u"removes",    u"removing",   u"erase",
                    u"erases",      u"erasing",   u"scrub",      u"scrubs",     u"scrubbing",
                    u"cover",       u"covers",    u"covering"});
}

// The kinds a noun names; none for other words.
SensitiveKinds nounKinds(const QString& word) {
    if (isOneOf(word, {u"email", u"emails", u"mail", u"mails", u"emailaddress"})) {
        return SensitiveKind::email;
    }
    if (isOneOf(word, {u"phone", u"phones", u"telephone", u"telephones", u"mobile", u"mobiles",
                       u"cellphone", u"cellphones"})) {
        return SensitiveKind::phoneNumber;
    }
    if (isOneOf(word, {u"card", u"cards", u"credit", u"debit", u"creditcard", u"creditcards"})) {
        return SensitiveKind::cardNumber;
    }
    if (isOneOf(word, {u"ip", u"ips", u"ipv4", u"ipv6", u"ipaddress", u"ipaddresses"})) {
        return SensitiveKind::ipAddress;
    }
    if (isOneOf(word, {u"url", u"urls", u"uri", u"uris", u"link", u"links", u"hyperlink",
                       u"hyperlinks"})) {
        return SensitiveKind::tokenUrl;
    }
    if (isOneOf(word, {u"token", u"tokens", u"key", u"keys", u"apikey", u"apikeys", u"jwt", u"jwts",
                       u"password", u"passwords", u"passwd", u"passcode", u"passcodes", u"secret",
                       u"secrets", u"credential", u"credentials"})) {
        return tokenLikeKinds;
    }
    return {};
}

// "Remove" and "erase" also take annotations as their object: "remove the box around the
// email" deletes a drawn box; it hides nothing.
bool isRemovalVerb(const QString& word) {
    return isOneOf(word, {u"remove", u"removes", u"removing", u"erase", u"erases", u"erasing"});
}

bool isAnnotationNoun(const QString& word) {
    return isOneOf(word, {u"box",       u"boxes",      u"rectangle",  u"rectangles",  u"rect",
                          u"oval",      u"ovals",      u"circle",     u"circles",     u"ellipse",
                          u"arrow",     u"arrows",     u"annotation", u"annotations", u"label",
                          u"labels",    u"shape",      u"shapes",     u"outline",     u"outlines",
                          u"highlight", u"highlights", u"stroke",     u"strokes",     u"drawing",
                          u"drawings",  u"step",       u"steps",      u"textbox"});
}

// Words that speak of sensitive things in general: every kind.
bool isGeneralNoun(const QString& word) {
    return isOneOf(word, {u"sensitive", u"private", u"personal", u"confidential", u"pii",
                          u"identifying", u"privacy"});
}

// Where the kinds to leave out begin: "except", "excluding", "but not", "other than",
// "apart from", "aside from"; the word count when there is no such marker.
qsizetype exclusionStart(const QStringList& words) {
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        const QString next = i + 1 < words.size() ? words[i + 1] : QString();
        if (word == u"except" || word == u"excluding" || (word == u"but" && next == u"not") ||
            (word == u"other" && next == u"than") ||
            ((word == u"apart" || word == u"aside") && next == u"from")) {
            return i;
        }
    }
    return words.size();
}

struct RequestReading {
    bool standaloneVerb = false;
    bool verb = false;
    bool onlyRemovalVerbs = true;
    bool annotationNoun = false;
    bool general = false;
    SensitiveKinds named;
    SensitiveKinds excluded;
};

RequestReading readRequest(const QString& query) {
    const QStringList words = requestWords(query);
    const qsizetype exclusion = exclusionStart(words);
    RequestReading reading;
    for (qsizetype i = 0; i < words.size(); ++i) {
        reading.standaloneVerb = reading.standaloneVerb || isStandaloneVerb(words[i]);
        if (isVerb(words, i)) {
            reading.verb = true;
            reading.onlyRemovalVerbs = reading.onlyRemovalVerbs && isRemovalVerb(words[i]);
        }
        reading.annotationNoun = reading.annotationNoun || isAnnotationNoun(words[i]);
        (i < exclusion ? reading.named : reading.excluded) |= nounKinds(words[i]);
        reading.general = reading.general || (i < exclusion && isGeneralNoun(words[i]));
    }
    return reading;
}

bool isRedaction(const RequestReading& reading) {
    if (reading.standaloneVerb) {
        return true;
    }
    if (reading.onlyRemovalVerbs && reading.annotationNoun) {
        return false; // removing a drawn thing
    }
    return reading.verb && (reading.general || reading.named || reading.excluded);
}

} // namespace

bool isRedactionRequest(const QString& query) {
    return isRedaction(readRequest(query));
}

SensitiveKinds sensitiveKindsForRequest(const QString& query) {
    const RequestReading reading = readRequest(query);
    SensitiveKinds kinds = reading.named;
    if (reading.general || (!kinds && isRedaction(reading))) {
        kinds = allSensitiveKinds;
    }
    return kinds & ~reading.excluded;
}

} // namespace vellumix
