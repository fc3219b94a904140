// libFuzzer target for model answers: arbitrary JSON read as directives, converted to commands
// and applied to a canvas holding a few annotations. Nothing may crash, and whatever the batch
// did must be undone by its one undo step.

#include "ai/AICanvasCommander.h"
#include "canvas/CanvasDocument.h"
#include "model/CodableAnnotation.h"

#include <cstdint>
#include <cstdlib>

namespace {

class FixedFonts final : public vellumix::FontCatalogue {
public:
    QString systemFamily() const override { return QStringLiteral("Sans"); }
    bool hasMember(const QString&, bool, bool) const override { return true; }
    QStringList families() const override {
        return {QStringLiteral("Sans"), QStringLiteral("Serif")};
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vellumix;
    nlohmann::json answer;
    try {
        answer = nlohmann::json::parse(data, data + size);
    } catch (const nlohmann::json::exception&) {
        return 0;
    }
    if (!answer.is_array()) {
        answer = nlohmann::json::array({answer});
    }
    CanvasDocument canvas;
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(Qt::white);
    canvas.setImage(image);
    ShapeAnnotation shape;
    shape.id = *AnnotationID::decode(QStringLiteral("aaaaa"));
    shape.rect = QRectF(30, 30, 10, 10);
    TextAnnotation text;
    text.id = *AnnotationID::decode(QStringLiteral("bbbbb"));
    text.rect = QRectF(25, 25, 20, 10);
    text.text = QStringLiteral("t");
    canvas.setAnnotationsWithoutUndo({shape, text});
    const std::string before = encodeAnnotations(canvas.annotations());

    const FixedFonts fonts;
    std::vector<AICanvasCommand> commands;
    for (const auto& element : answer) {
        if (auto command = makeCommand(AICanvasDirectivePublic::fromJson(element), fonts)) {
            commands.push_back(std::move(*command));
        }
    }
    AICanvasCommander::apply(commands, AICanvasCommander::batchActionName(commands), canvas);
    canvas.undoStack().undo();
    if (encodeAnnotations(canvas.annotations()) != before) {
        std::abort(); // the batch was not one undoable step
    }
    return 0;
}
