#pragma once

#include <QImage>
#include <QString>

#include <memory>
#include <optional>

namespace vellumix {

class PdfPages;

/// A PDF file opened with poppler for rendering single pages. Locked (password-protected),
/// broken and page-less files do not open; a page that fails to render is no image.
class PdfDocument {
public:
    /// The resolution PDF pages open at: two pixels per point.
    static constexpr double defaultDpi = 144;

    /// None when the file is missing, is not a PDF poppler can parse, needs a password or
    /// has no pages.
    static std::unique_ptr<PdfDocument> open(const QString& path);
    ~PdfDocument();
    PdfDocument(const PdfDocument&) = delete;
    PdfDocument& operator=(const PdfDocument&) = delete;

    /// At least 1.
    int pageCount() const { return m_pageCount; }

    /// Page `pageNumber` (counted from 1) at `dpi`, drawn onto white, opaque, device pixel
    /// ratio 1. None for a page out of range, a page whose pixels would exceed `maxBytes`
    /// (4 bytes a pixel) or one poppler cannot render.
    std::optional<QImage> renderPage(int pageNumber, double dpi = defaultDpi,
                                     qint64 maxBytes = 1024LL * 1024 * 1024) const;

private:
    explicit PdfDocument(std::unique_ptr<PdfPages> pages);

    // Poppler's side, in the PDF module, which loads the first time a PDF is opened.
    std::unique_ptr<PdfPages> m_pages;
    int m_pageCount = 0;
};

} // namespace vellumix
