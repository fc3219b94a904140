// Prints an image file's size and the colours of the given pixels, for the end-to-end tests:
//   pixel_probe FILE [X Y]...   →   "WxH" then "#rrggbbaa" per point
//   pixel_probe --white W H FILE   writes a white W × H PNG
#include <QGuiApplication>
#include <QImage>

#include <cstdio>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc == 5 && QByteArray(argv[1]) == "--white") {
        QImage white(std::atoi(argv[2]), std::atoi(argv[3]), QImage::Format_RGB32);
        white.fill(Qt::white);
        return white.save(QString::fromLocal8Bit(argv[4]), "png") ? 0 : 1;
    }
    if (argc < 2 || argc % 2 != 0) {
        std::fprintf(stderr, "usage: pixel_probe FILE [X Y]...\n");
        return 2;
    }
    const QImage image(QString::fromLocal8Bit(argv[1]));
    if (image.isNull()) {
        std::fprintf(stderr, "pixel_probe: %s is not a readable image\n", argv[1]);
        return 1;
    }
    std::printf("%dx%d\n", image.width(), image.height());
    for (int i = 2; i + 1 < argc; i += 2) {
        const QColor c = image.pixelColor(std::atoi(argv[i]), std::atoi(argv[i + 1]));
        std::printf("#%02x%02x%02x%02x\n", c.red(), c.green(), c.blue(), c.alpha());
    }
    return 0;
}
