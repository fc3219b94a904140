#include "pdf/PdfModule.h"

#include "process/ModuleExport.h"

#include <QPainter>

#include <cmath>
#include <mutex>
#include <poppler/qt6/poppler-qt6.h>

namespace vellumix {

namespace {

// Poppler reports every parse problem of a broken file on stderr; a file that does not open
// is an ordinary, silent outcome here.
void silencePoppler() {
    static std::once_flag once;
    std::call_once(once, [] {
        Poppler::setDebugErrorFunction([](const QString&, const QVariant&) {}, QVariant());
    });
}

class PopplerPages final : public PdfPages {
public:
    PopplerPages(std::unique_ptr<Poppler::Document> document, int pageCount)
        : m_document(std::move(document)), m_pageCount(pageCount) {}

    int pageCount() const override { return m_pageCount; }
    std::optional<QImage> renderPage(int pageNumber, double dpi, qint64 maxBytes) const override;

private:
    std::unique_ptr<Poppler::Document> m_document;
    int m_pageCount = 0;
};

std::unique_ptr<PdfPages> open(const QString& path) {
    silencePoppler();
    std::unique_ptr<Poppler::Document> document = Poppler::Document::load(path);
    // numPages() on a locked document crashes in poppler 22.12: the lock is checked first.
    if (!document || document->isLocked()) {
        return nullptr;
    }
    const int pages = document->numPages();
    if (pages < 1) {
        return nullptr;
    }
    document->setRenderHint(Poppler::Document::Antialiasing);
    document->setRenderHint(Poppler::Document::TextAntialiasing);
    document->setPaperColor(Qt::white);
    return std::make_unique<PopplerPages>(std::move(document), pages);
}

// The page number and resolution were checked by PdfDocument.
std::optional<QImage> PopplerPages::renderPage(int pageNumber, double dpi, qint64 maxBytes) const {
    std::unique_ptr<Poppler::Page> page = m_document->page(pageNumber - 1);
    if (!page) {
        return std::nullopt;
    }
    // The size is checked before poppler allocates anything: a huge page box is refused, not
    // rendered. Width times height does not depend on the page's rotation.
    const QSizeF points = page->pageSizeF();
    const double width = std::ceil(points.width() * dpi / 72);
    const double height = std::ceil(points.height() * dpi / 72);
    if (!(width >= 1 && height >= 1) || width > 32767 || height > 32767 ||
        width * height * 4 > static_cast<double>(maxBytes)) {
        return std::nullopt;
    }
    QImage image = page->renderToImage(dpi, dpi);
    if (image.isNull()) {
        return std::nullopt;
    }
    if (image.hasAlphaChannel()) {
        QImage opaque(image.size(), QImage::Format_RGB32);
        opaque.fill(Qt::white);
        QPainter painter(&opaque);
        painter.drawImage(0, 0, image);
        painter.end();
        image = std::move(opaque);
    }
    image.setDevicePixelRatio(1);
    return image;
}

const PdfModule entryPoints{&open};

} // namespace

} // namespace vellumix

VELLUMIX_MODULE_ENTRY(pdf, vellumix::entryPoints)
