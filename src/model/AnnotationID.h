#pragma once

#include "Result.h"

#include <QHashFunctions>
#include <QString>

#include <functional>

namespace vellumix {

/// Names one annotation. Fresh IDs are five random characters from [0-9a-zA-Z]; stored IDs of
/// any non-empty form are accepted as they are.
class AnnotationID {
public:
    static constexpr int generatedLength = 5;
    static constexpr QStringView alphabet =
        u"0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";

    /// A fresh ID drawn from the system's random source.
    static AnnotationID generate();

    /// Accepts any non-empty string; the empty string is a decoding error.
    static Result<AnnotationID> decode(const QString& raw);

    const QString& rawValue() const { return m_raw; }

    friend bool operator==(const AnnotationID&, const AnnotationID&) = default;
    friend auto operator<=>(const AnnotationID& a, const AnnotationID& b) {
        return a.m_raw.compare(b.m_raw) <=> 0;
    }

private:
    explicit AnnotationID(QString raw) : m_raw(std::move(raw)) {}
    QString m_raw;
};

inline size_t qHash(const AnnotationID& id, size_t seed = 0) noexcept {
    return qHash(id.rawValue(), seed);
}

} // namespace vellumix

template <> struct std::hash<vellumix::AnnotationID> {
    size_t operator()(const vellumix::AnnotationID& id) const noexcept {
        return qHash(id.rawValue());
    }
};
