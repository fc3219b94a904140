#pragma once

#include <QImage>

namespace vellumix {

/// A new image whose memory is committed up front. Large pictures otherwise pay one page fault
/// per 4 KiB on first touch, which costs more than filling them; mapping them pre-populated is
/// several times cheaper. The pixels start out zero (transparent).
QImage allocateImage(int width, int height, QImage::Format format);

} // namespace vellumix
