#pragma once

#include "ai/VisionAnalysis.h"

#include <QFlags>
#include <QRectF>
#include <QString>

#include <array>
#include <optional>
#include <vector>

/// Finding secrets and personal details in the recognised text of a picture, so that the editor
/// can propose rectangles to redact. Pure rules over a cached VisionAnalysis: no recognition, no
/// pixels.
namespace vellumix {

/// What a span of recognised text gives away. The values are bits of SensitiveKinds.
enum class SensitiveKind : unsigned {
    email = 1u << 0,
    /// A URL carrying a token, key, signature, session, code or password (in its query, its
    /// fragment or as user:password@).
    tokenUrl = 1u << 1,
    /// IPv4 or IPv6.
    ipAddress = 1u << 2,
    phoneNumber = 1u << 3,
    /// A payment-card number that passes the Luhn check.
    cardNumber = 1u << 4,
    /// A JSON Web Token.
    jwt = 1u << 5,
    /// API keys and access keys by their known prefixes, values assigned to password/secret/
    /// token names, bearer tokens, private-key blocks, long hex secrets and other
    /// high-entropy tokens.
    secret = 1u << 6,
};
Q_DECLARE_FLAGS(SensitiveKinds, SensitiveKind)
Q_DECLARE_OPERATORS_FOR_FLAGS(SensitiveKinds)

/// Every kind, most specific first: when spans of different kinds overlap, the merged span is
/// labelled with the kind that comes first here.
inline constexpr std::array<SensitiveKind, 7> sensitiveKindsBySpecificity{
    SensitiveKind::jwt,    SensitiveKind::cardNumber, SensitiveKind::tokenUrl,
    SensitiveKind::email,  SensitiveKind::ipAddress,  SensitiveKind::phoneNumber,
    SensitiveKind::secret,
};

inline constexpr SensitiveKinds allSensitiveKinds = SensitiveKinds::fromInt(0x7f);

/// The short name shown next to a proposal: "Email address", "URL with token", "IP address",
/// "Phone number", "Card number", "JWT", "Secret".
QString sensitiveKindName(SensitiveKind kind);

/// The short key of a kind on command lines: "email", "url", "ip", "phone", "card", "jwt",
/// "secret"; and the kind of such a key (none for anything else).
QString sensitiveKindKey(SensitiveKind kind);
std::optional<SensitiveKind> sensitiveKindForKey(QStringView key);

/// A span of one line's text, in UTF-16 code units.
struct SensitiveSpan {
    SensitiveKind kind = SensitiveKind::secret;
    int start = 0;
    int length = 0;

    int end() const { return start + length; }
    bool operator==(const SensitiveSpan&) const = default;
};

/// A proposal to redact: the span of `analysisLine(analysis, lineIndex).text` and its box in
/// image pixels.
struct SensitiveMatch {
    SensitiveKind kind = SensitiveKind::secret;
    int lineIndex = 0;
    int start = 0;
    int length = 0;
    QRectF rect;

    bool operator==(const SensitiveMatch&) const = default;
};

/// The sensitive spans of one line of text, of the given kinds, in text order. Overlapping spans
/// are merged into one covering both, labelled with the more specific kind.
std::vector<SensitiveSpan> findSensitiveSpans(const QString& text,
                                              SensitiveKinds kinds = allSensitiveKinds);

/// Whether a recognised line is nothing but a credential's label, as forms show them beside
/// their fields: "Password", "API key:", "Secret key", "Access token", "Passphrase".
bool isCredentialLabel(QStringView text);

/// Whether a line beside a credential's label holds its value: one piece without spaces, of at
/// least 4 characters, not masked (all one character) and no placeholder ("<none>", "(empty)").
bool isCredentialValue(QStringView text);

/// The box of `length` characters from `start` in a recognised line, in image pixels. With the
/// engine's word and glyph boxes, it reaches from the span's first glyph to its last (whole
/// words where their glyphs are unknown) and out to a word's edge where the span reaches one,
/// half a typical character wider where it ends inside a word, and as tall as the words it
/// touches. Otherwise it is estimated in proportion to the character
/// positions, widened by one average character width on each side and clamped to the line, with
/// the line's height; a span of at least 80 % of the line's characters gets the whole line.
QRectF sensitiveSpanRect(const OCRLine& line, int start, int length);

/// The line `index` of an analysis counting through its lines and then its doubtful lines, as
/// `SensitiveMatch::lineIndex` does.
const OCRLine& analysisLine(const VisionAnalysis& analysis, int index);

/// Every sensitive span of the given kinds in the analysis's lines and doubtful lines, line by
/// line in text order, with its box; and, for the secret kind, the whole value beside each
/// credential label in a form (the value to the label's right on the same row).
std::vector<SensitiveMatch> findSensitiveText(const VisionAnalysis& analysis,
                                              SensitiveKinds kinds = allSensitiveKinds);

/// The area to redact for a match's box: recognised line boxes hug the letters, while
/// underscores and some descenders reach below them, so the box grows by a quarter of its height
/// up and down and by two pixels sideways, within the image; but not into any of `lines` (the
/// recognised lines' rects) whose middle lies above or below the box, so that tightly set
/// neighbouring lines stay readable.
QRectF redactionAreaFor(const QRectF& matchRect, QSize imageSize,
                        const std::vector<QRectF>& lines = {});

// --- Requests --------------------------------------------------------------------------------

/// Whether a plain-language (English) request asks to redact something: "redact" or "censor"
/// alone, or another redaction verb (hide, blur, pixelate, black out, mask, obscure, anonymise,
/// remove, erase, scrub, cover) together with a sensitive noun ("emails", "API keys", "private
/// info", …).
bool isRedactionRequest(const QString& query);

/// The kinds a request names: email, phone, card/credit card, IP, URL/link, and token/key/API
/// key/JWT/password/secret/credential for the token-like kinds (URL with token, JWT, secret).
/// All kinds for a redaction request that names none or speaks of sensitive/private/personal/
/// confidential things; kinds named after "except", "but not", "other than", "apart from" are
/// left out. None for a query that is no redaction request and names no kind.
SensitiveKinds sensitiveKindsForRequest(const QString& query);

} // namespace vellumix
