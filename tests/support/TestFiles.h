#pragma once

// Files the tests write themselves: raw bytes, forged PNG headers and small PDFs.

#include <QByteArray>
#include <QFile>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QString>

#include <gtest/gtest.h>

namespace vellumix::test {

inline void writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

inline QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline QByteArray bigEndian(quint32 value) {
    QByteArray bytes(4, '\0');
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<char>((value >> (24 - 8 * i)) & 0xff);
    }
    return bytes;
}

inline QByteArray pngChunk(const QByteArray& type, const QByteArray& data) {
    quint32 crc = 0xffffffffu;
    for (char byte : type + data) {
        crc ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
        }
    }
    return bigEndian(static_cast<quint32>(data.size())) + type + data + bigEndian(~crc);
}

// A valid PNG signature and header declaring `side` × `side` RGBA pixels (100000: 40 GB
// decoded), then a few bytes of compressed data: enough for the header to be read, far too
// little to decode.
inline QByteArray hugePngHeader(quint32 side = 100000) {
    QByteArray header = bigEndian(side) + bigEndian(side);
    header += QByteArray("\x08\x06\x00\x00\x00", 5); // 8 bits, RGBA, deflate, no filter/interlace
    const QByteArray data = qCompress(QByteArray(64, '\0')).mid(4); // zlib stream
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR", header) + pngChunk("IDAT", data) +
           pngChunk("IEND", {});
}

// Three pages without margins at 72 dpi, so painter units are PDF points: A4 with a red square,
// A5 with a green one, A4 with a blue one, each 100 × 100 pt at (100, 100) pt (pixels 200 … 400
// at 144 dpi).
inline QString writeThreePages(const QString& path) {
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter painter(&writer);
    painter.fillRect(QRectF(100, 100, 100, 100), Qt::red);
    writer.setPageSize(QPageSize(QPageSize::A5));
    writer.newPage();
    painter.fillRect(QRectF(100, 100, 100, 100), Qt::green);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.newPage();
    painter.fillRect(QRectF(100, 100, 100, 100), Qt::blue);
    painter.end();
    return path;
}

// A well-formed PDF whose page tree is empty, with a correct cross-reference table.
inline QByteArray zeroPagePdf() {
    QByteArray pdf = "%PDF-1.4\n";
    const qsizetype catalog = pdf.size();
    pdf += "1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n";
    const qsizetype pages = pdf.size();
    pdf += "2 0 obj\n<< /Type /Pages /Kids [] /Count 0 >>\nendobj\n";
    const qsizetype xref = pdf.size();
    pdf += "xref\n0 3\n0000000000 65535 f \n";
    pdf += QByteArray::number(catalog).rightJustified(10, '0') + " 00000 n \n";
    pdf += QByteArray::number(pages).rightJustified(10, '0') + " 00000 n \n";
    pdf +=
        "trailer\n<< /Size 3 /Root 1 0 R >>\nstartxref\n" + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

} // namespace vellumix::test
