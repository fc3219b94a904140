#pragma once

#include <QImage>
#include <QString>

#include <memory>
#include <optional>

namespace vellumix {

/// One PDF opened by the PDF module (poppler); see PdfDocument for what the calls promise.
class PdfPages {
public:
    virtual ~PdfPages() = default;
    virtual int pageCount() const = 0;
    virtual std::optional<QImage> renderPage(int pageNumber, double dpi, qint64 maxBytes) const = 0;
};

/// The entry points of the PDF module.
struct PdfModule {
    /// Null when the file does not open (missing, not a PDF, locked, no pages).
    std::unique_ptr<PdfPages> (*open)(const QString& path);
};

} // namespace vellumix
