#include "AIRequestHost.h"

#include "canvas/CanvasDocument.h"
#include "imaging/ImageOperations.h"

namespace vellumix {

AIRequestHost canvasRequestHost(std::function<CanvasDocument*()> canvas, ImageFilter filter) {
    AIRequestHost host;
    host.applyFilter = [canvas, filter = std::move(filter)](const QString& kind, double strength) {
        CanvasDocument* document = canvas();
        const auto filtered = document ? filter(document->image(), kind, strength) : std::nullopt;
        if (!filtered) {
            return false;
        }
        document->replaceImage(*filtered, document->annotations(),
                               imageops::assistantFilterActionName(kind));
        return true;
    };
    host.replaceImage = [canvas](const QImage& image) {
        CanvasDocument* document = canvas();
        const auto edited = document ? imageops::assistantImage(image, document->annotations(),
                                                                document->image().size())
                                     : std::nullopt;
        if (edited) {
            document->replaceImage(edited->image, edited->annotations,
                                   QString::fromLatin1(imageops::assistantImageActionName));
        }
    };
    host.canvas = std::move(canvas);
    return host;
}

} // namespace vellumix
