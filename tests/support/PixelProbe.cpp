// Pixels for the end-to-end tests:
//   pixel_probe FILE [X Y]...          "WxH", then "#rrggbbaa" for each point
//   pixel_probe screen [X Y]...        the same for the X screen of $DISPLAY, as shown now
//   pixel_probe screen save FILE       writes the X screen to a PNG
//   pixel_probe make FILE W H #rrggbb  writes a PNG of one colour
//   pixel_probe --white W H FILE       writes a white PNG
//   pixel_probe gradient FILE W H      writes a PNG whose every pixel tells where it is
//   pixel_probe same PART WHOLE X Y    exits 0 when PART is WHOLE's pixels from (X, Y) on
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>

#include <cstdio>
#include <cstring>

namespace {

bool is(const char *argument, const char *word) {
  return std::strcmp(argument, word) == 0;
}

QString path(const char *argument) { return QString::fromLocal8Bit(argument); }

int filled(const char *file, int width, int height, const QColor &color) {
  QImage image(width, height, QImage::Format_RGB32);
  image.fill(color);
  return image.save(path(file), "png") ? 0 : 1;
}

int gradient(const char *file, int width, int height) {
  QImage image(width, height, QImage::Format_RGB32);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      image.setPixel(
          x, y,
          qRgb(x * 255 / width, y * 255 / height, (x + y) % 2 ? 40 : 200));
    }
  }
  return image.save(path(file), "png") ? 0 : 1;
}

int same(const char *partFile, const char *wholeFile, int left, int top) {
  const QImage part =
      QImage(path(partFile)).convertToFormat(QImage::Format_RGB32);
  const QImage whole =
      QImage(path(wholeFile)).convertToFormat(QImage::Format_RGB32);
  const QImage expected = whole.copy(left, top, part.width(), part.height());
  for (int y = 0; y < part.height(); ++y) {
    for (int x = 0; x < part.width(); ++x) {
      if (part.pixel(x, y) != expected.pixel(x, y)) {
        std::printf("differs at (%d, %d): #%06x, expected #%06x\n", x, y,
                    part.pixel(x, y) & 0xffffff,
                    expected.pixel(x, y) & 0xffffff);
        return 1;
      }
    }
  }
  return part.isNull() ? 1 : 0;
}

int probe(const QImage &image, int argc, char **argv) {
  std::printf("%dx%d\n", image.width(), image.height());
  for (int i = 2; i + 1 < argc; i += 2) {
    const QColor c =
        image.pixelColor(std::atoi(argv[i]), std::atoi(argv[i + 1]));
    std::printf("#%02x%02x%02x%02x\n", c.red(), c.green(), c.blue(), c.alpha());
  }
  return 0;
}

} // namespace

int main(int argc, char **argv) {
  const bool screen = argc >= 2 && is(argv[1], "screen");
  qputenv("QT_QPA_PLATFORM", screen ? "xcb" : "offscreen");
  QGuiApplication app(argc, argv);
  if (argc == 6 && is(argv[1], "make")) {
    return filled(argv[2], std::atoi(argv[3]), std::atoi(argv[4]),
                  QColor(argv[5]));
  }
  if (argc == 5 && is(argv[1], "--white")) {
    return filled(argv[4], std::atoi(argv[2]), std::atoi(argv[3]), Qt::white);
  }
  if (argc == 5 && is(argv[1], "gradient")) {
    return gradient(argv[2], std::atoi(argv[3]), std::atoi(argv[4]));
  }
  if (argc == 6 && is(argv[1], "same")) {
    return same(argv[2], argv[3], std::atoi(argv[4]), std::atoi(argv[5]));
  }
  if (argc < 2 || argc % 2 != 0) {
    std::fprintf(stderr,
                 "usage: see the comment at the top of PixelProbe.cpp\n");
    return 2;
  }
  const QImage image =
      screen ? QGuiApplication::primaryScreen()->grabWindow(0).toImage()
             : QImage(path(argv[1]));
  if (screen && argc == 4 && is(argv[2], "save")) {
    return image.save(path(argv[3])) ? 0 : 1;
  }
  if (image.isNull()) {
    std::fprintf(stderr, "pixel_probe: %s is not a readable image\n", argv[1]);
    return 1;
  }
  return probe(image, argc, argv);
}
