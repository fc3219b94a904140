// libFuzzer target for image analyses read from JSON (`vellumix-bundle context --analysis`, the
// form `analyze` writes): arbitrary JSON read as an analysis, then turned into every form of
// the model's context and searched for sensitive text. Nothing may crash, and every match must
// lie on a line the analysis holds.

#include "ai/AIContext.h"
#include "ai/SensitiveText.h"

#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vellumix;
    const auto json = nlohmann::json::parse(data, data + size, nullptr, false);
    auto analysis = analysisFromJson(json);
    if (!analysis) {
        return 0;
    }
    assignLineSizes(analysis->lines);
    AIContext::Inputs inputs;
    inputs.imageSize = QSize(1280, 800);
    inputs.imageRect = QRectF(0, 0, 1280, 800);
    inputs.analysis = analysis;
    inputs.query = analysis->classifications.value(0, QStringLiteral("what does the total say"));
    for (const QueryRoute route :
         {QueryRoute::question, QueryRoute::annotationEdit, QueryRoute::imageEdit}) {
        AIContext::build(route, inputs);
    }
    const std::vector<QRectF> lines = lineRects(*analysis);
    for (const SensitiveMatch& match : findSensitiveText(*analysis)) {
        const size_t lineCount = analysis->lines.size() + analysis->doubtfulLines.size();
        if (match.lineIndex < 0 || size_t(match.lineIndex) >= lineCount || match.start < 0 ||
            match.length <= 0 ||
            match.start + match.length > analysisLine(*analysis, match.lineIndex).text.size()) {
            std::abort(); // a match outside its line's text
        }
        redactionAreaFor(match.rect, inputs.imageSize, lines);
    }
    return 0;
}
