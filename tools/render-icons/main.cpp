// Renders the app icon's SVG into the PNG sizes of the hicolor theme, for desktops and tools
// that do not read SVG icons.
// usage: render-icons ICON.svg OUTPUT_FOLDER (writes OUTPUT_FOLDER/NxN/vellumix.png)
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: render-icons ICON.svg OUTPUT_FOLDER\n");
        return 2;
    }
    QSvgRenderer svg(QString::fromLocal8Bit(argv[1]));
    if (!svg.isValid()) {
        std::fprintf(stderr, "render-icons: cannot read %s\n", argv[1]);
        return 1;
    }
    const QDir output(QString::fromLocal8Bit(argv[2]));
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        const QString folder = QStringLiteral("%1x%1").arg(size);
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        svg.render(&painter);
        painter.end();
        const QString file = output.filePath(folder + QStringLiteral("/vellumix.png"));
        if (!output.mkpath(folder) || !image.save(file, "PNG")) {
            std::fprintf(stderr, "render-icons: cannot write %s\n", qPrintable(file));
            return 1;
        }
    }
    return 0;
}
