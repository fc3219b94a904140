// Prints the text lines the image analysis reads in a PNG, one a line, in reading order: for
// end-to-end scripts that check what a captured picture shows.
#include "vision/VisionAnalyzer.h"

#include <QGuiApplication>
#include <QImage>

#include <iostream>

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::cerr << "usage: ocr_lines picture.png\n";
        return 2;
    }
    const QImage image(QString::fromLocal8Bit(argv[1]));
    if (image.isNull()) {
        std::cerr << "unreadable picture\n";
        return 1;
    }
    for (const auto& line : vellumix::VisionAnalyzer::analyze(image).lines) {
        std::cout << line.text.toStdString() << '\n';
    }
    return 0;
}
