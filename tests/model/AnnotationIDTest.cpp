#include "model/AnnotationID.h"

#include <QSet>

#include <array>
#include <gtest/gtest.h>

using vellumix::AnnotationID;

TEST(AnnotationID, GeneratedIdsHaveFiveAlphanumericCharacters) {
    for (int i = 0; i < 2000; ++i) {
        const QString raw = AnnotationID::generate().rawValue();
        ASSERT_EQ(raw.size(), 5);
        for (QChar c : raw) {
            ASSERT_TRUE((c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') ||
                        (c >= u'A' && c <= u'Z'))
                << qPrintable(raw);
        }
    }
}

// A modulo draw over bytes would give the first eight characters 5/256 instead of 4/256 of the
// mass, 25% too much; the chi-square statistic over 62 cells makes that unmistakable.
TEST(AnnotationID, CharactersAreUniformOverTheAlphabet) {
    std::array<int, 62> counts{};
    constexpr int ids = 20000;
    for (int i = 0; i < ids; ++i) {
        const AnnotationID id = AnnotationID::generate();
        for (QChar c : id.rawValue()) {
            counts[static_cast<size_t>(AnnotationID::alphabet.indexOf(c))]++;
        }
    }
    const double expected = ids * 5.0 / 62;
    double chiSquare = 0;
    for (int n : counts) {
        chiSquare += (n - expected) * (n - expected) / expected;
    }
    // 61 degrees of freedom: the 99.99th percentile is about 115; modulo bias gives ~1000.
    EXPECT_LT(chiSquare, 115);
}

TEST(AnnotationID, DecodingRejectsOnlyTheEmptyString) {
    const auto empty = AnnotationID::decode(QString());
    ASSERT_FALSE(empty);
    EXPECT_EQ(empty.error().message, QStringLiteral("AnnotationID cannot be empty"));

    for (const QString& raw : {QStringLiteral("x"), QStringLiteral("not-an-id with spaces"),
                               QStringLiteral("ÄÖÜ✓"), QStringLiteral("0123456789abcdef")}) {
        const auto decoded = AnnotationID::decode(raw);
        ASSERT_TRUE(decoded) << qPrintable(raw);
        EXPECT_EQ(decoded->rawValue(), raw);
    }
}

TEST(AnnotationID, EqualityAndHashingFollowTheRawValue) {
    const auto a = *AnnotationID::decode(QStringLiteral("abcde"));
    const auto b = *AnnotationID::decode(QStringLiteral("abcde"));
    const auto c = *AnnotationID::decode(QStringLiteral("abcdE"));
    EXPECT_EQ(a, b);
    EXPECT_NE(a, c);
    QSet<AnnotationID> set{a, b, c};
    EXPECT_EQ(set.size(), 2);
}
