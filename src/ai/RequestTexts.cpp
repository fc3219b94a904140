#include "RequestTexts.h"

#include <cmath>

namespace vellumix {

QString detectionBatchResponse(int created, int deleted, int updated, const QStringList& labels,
                               const std::optional<QString>& resultText) {
    if (created == 0 && deleted == 0 && updated == 0) {
        return resultText.value_or(QStringLiteral("No matching objects detected."));
    }
    if (created == 0 && deleted == 0) {
        return updated == 1 ? QStringLiteral("Updated 1 annotation.")
                            : QStringLiteral("Updated %1 annotations.").arg(updated);
    }
    if (created == 0 && updated == 0) {
        return deleted == 1 ? QStringLiteral("Deleted 1 annotation.")
                            : QStringLiteral("Deleted %1 annotations.").arg(deleted);
    }
    if (deleted == 0 && updated == 0) {
        QStringList names;
        for (const QString& label : labels) {
            names << (label.isEmpty() ? QStringLiteral("object") : label);
        }
        if (created == 1) {
            return QStringLiteral("Drew 1 shape: %1.")
                .arg(names.value(0, QStringLiteral("object")));
        }
        return QStringLiteral("Drew %1 shapes: %2.")
            .arg(created)
            .arg(names.join(QStringLiteral(", ")));
    }
    QStringList parts;
    if (created) {
        parts << QStringLiteral("added %1").arg(created);
    }
    if (deleted) {
        parts << QStringLiteral("removed %1").arg(deleted);
    }
    if (updated) {
        parts << QStringLiteral("updated %1").arg(updated);
    }
    QString text = parts.join(QStringLiteral(", "));
    text[0] = text[0].toUpper();
    text += QStringLiteral(" annotation");
    if (created + deleted + updated != 1) {
        text += QLatin1Char('s');
    }
    return text + QLatin1Char('.');
}

QString groupedNumber(double value, int decimals) {
    const QString plain = QString::number(std::abs(value), 'f', decimals);
    const qsizetype point = plain.indexOf(QLatin1Char('.'));
    QString whole = point >= 0 ? plain.left(point) : plain;
    for (qsizetype i = whole.size() - 3; i > 0; i -= 3) {
        whole.insert(i, QLatin1Char(','));
    }
    const QString sign = value < 0 && plain.toDouble() != 0 ? QStringLiteral("-") : QString();
    return sign + whole + (point >= 0 ? plain.mid(point) : QString());
}

QString cloudMetaLine(const CloudResultMeta& m) {
    QStringList parts;
    if (m.hasImage && m.hasText) {
        parts << QStringLiteral("image & text");
    } else if (m.hasImage) {
        parts << QStringLiteral("image");
    } else if (m.hasText) {
        parts << QStringLiteral("text");
    }
    if (m.promptTokens && m.responseTokens) {
        const long long total = m.totalTokens.value_or(*m.promptTokens + *m.responseTokens);
        parts << QStringLiteral("%1 tokens (%2 in + %3 out)")
                     .arg(groupedNumber(double(total), 0),
                          groupedNumber(double(*m.promptTokens), 0),
                          groupedNumber(double(*m.responseTokens), 0));
    } else if (m.totalTokens) {
        parts << groupedNumber(double(*m.totalTokens), 0) + QStringLiteral(" tokens");
    }
    parts << QStringLiteral("↓ ") + groupedNumber(m.responseBytes / 1024.0, 1) +
                 QStringLiteral(" KB");
    parts << QString::number(m.seconds, 'f', 1) + QLatin1Char('s');
    if (m.finishReason && *m.finishReason != u"STOP") {
        parts << QStringLiteral("finish: ") + *m.finishReason;
    }
    const QString line = parts.join(QStringLiteral(" · "));
    return m.modelName ? *m.modelName + QStringLiteral(": ") + line : line;
}

PromptHistoryBrowser::Step PromptHistoryBrowser::step(int direction, const QStringList& history,
                                                      const QString& fieldText) {
    if (history.isEmpty()) {
        return {true, std::nullopt};
    }
    int next;
    if (m_index == -1) {
        m_draft = fieldText;
        if (direction >= 0) {
            return {true, std::nullopt};
        }
        next = static_cast<int>(history.size()) - 1;
    } else {
        next = m_index + direction;
        if (next < 0) {
            return {true, std::nullopt};
        }
        if (next >= history.size()) {
            const QString draft = m_draft.value_or(QString());
            m_index = -1;
            m_draft.reset();
            return {false, draft};
        }
    }
    m_index = next;
    return {false, history[next]};
}

void PromptHistoryBrowser::fieldEdited() {
    m_index = -1;
    m_draft.reset();
}

} // namespace vellumix
