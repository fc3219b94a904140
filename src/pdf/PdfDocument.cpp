#include "pdf/PdfDocument.h"

#include "pdf/PdfModule.h"
#include "process/Modules.h"

namespace vellumix {

PdfDocument::PdfDocument(std::unique_ptr<PdfPages> pages)
    : m_pages(std::move(pages)), m_pageCount(m_pages->pageCount()) {}

PdfDocument::~PdfDocument() = default;

std::unique_ptr<PdfDocument> PdfDocument::open(const QString& path) {
    const PdfModule* module = loadModule<PdfModule>("pdf");
    std::unique_ptr<PdfPages> pages = module ? module->open(path) : nullptr;
    if (!pages) {
        return nullptr;
    }
    return std::unique_ptr<PdfDocument>(new PdfDocument(std::move(pages)));
}

std::optional<QImage> PdfDocument::renderPage(int pageNumber, double dpi, qint64 maxBytes) const {
    if (pageNumber < 1 || pageNumber > m_pageCount || !(dpi > 0)) {
        return std::nullopt;
    }
    return m_pages->renderPage(pageNumber, dpi, maxBytes);
}

} // namespace vellumix
