#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace vellumix {

/// The answer shown after a cloud detection batch, from what the commander did.
/// `labels` are the drawn directives' summaries (empty ones read "object").
QString detectionBatchResponse(int created, int deleted, int updated, const QStringList& labels,
                               const std::optional<QString>& resultText);

/// What a cloud result reports about itself, for the panel's meta line.
struct CloudResultMeta {
    bool hasImage = false;
    bool hasText = false;
    std::optional<long long> promptTokens;
    std::optional<long long> responseTokens;
    std::optional<long long> totalTokens;
    long long responseBytes = 0;
    double seconds = 0;
    std::optional<QString> finishReason;
    std::optional<QString> modelName;
};
/// "model: image & text · 1,234 tokens (1,000 in + 234 out) · ↓ 1.5 KB · 2.3s · finish: X"
QString cloudMetaLine(const CloudResultMeta& meta);

/// A number with "," between every three digits and exactly `decimals` fraction digits.
QString groupedNumber(double value, int decimals);

/// Up/Down browsing of the sent prompts in the prompt field.
class PromptHistoryBrowser {
public:
    struct Step {
        bool beep = false;
        /// The field's new text, when it changes.
        std::optional<QString> text;
    };

    /// One step back (-1, older) or forward (+1, newer) through `history` (oldest first).
    Step step(int direction, const QStringList& history, const QString& fieldText);
    /// The user edited the field: browsing ends.
    void fieldEdited();
    int index() const { return m_index; }

private:
    int m_index = -1;
    std::optional<QString> m_draft;
};

} // namespace vellumix
