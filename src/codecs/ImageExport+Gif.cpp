#include "ImageExportDetail.h"
#include "PaletteQuantizer.h"

#include <algorithm>
#include <array>
#include <cstdint>

// GIF89a written by hand: Qt has no GIF writer and no other library is needed for it. One
// image with a global colour table, an optional transparent entry, LZW-coded rows.
namespace vellumix::exportDetail {

namespace {

constexpr int maxCode = 4095;
constexpr int maxCodeBits = 12;

// GIF's variable-width LZW: codes are packed least significant bit first and cut into
// sub-blocks of at most 255 bytes. The table is restarted with a clear code just before code
// 4095 would be assigned, as giflib does, so every decoder agrees on the code widths.
class LzwEncoder {
public:
    LzwEncoder(int minCodeSize, QByteArray& out)
        : m_out(out)
        , m_minCodeSize(minCodeSize)
        , m_clearCode(1 << minCodeSize)
        , m_endCode(m_clearCode + 1) {
        m_out.append(char(minCodeSize));
        restart();
        writeCode(m_clearCode);
    }

    void add(const uint8_t* symbols, int count) {
        for (int i = 0; i < count; ++i) {
            const int symbol = symbols[i];
            if (m_prefix < 0) {
                m_prefix = symbol;
                continue;
            }
            const uint32_t key = (uint32_t(m_prefix) << 8) | uint32_t(symbol);
            size_t slot = slotOf(key);
            while (m_keys[slot] != 0 && m_keys[slot] != key + 1) {
                slot = (slot + 1) & (tableSize - 1);
            }
            if (m_keys[slot] != 0) {
                m_prefix = m_codes[slot];
                continue;
            }
            writeCode(m_prefix);
            if (m_nextCode >= maxCode) {
                writeCode(m_clearCode);
                restart();
            } else {
                m_keys[slot] = key + 1;
                m_codes[slot] = static_cast<uint16_t>(m_nextCode++);
            }
            m_prefix = symbol;
        }
    }

    void finish() {
        if (m_prefix >= 0) {
            writeCode(m_prefix);
        }
        writeCode(m_endCode);
        if (m_bitCount > 0) {
            put(static_cast<uint8_t>(m_bits));
        }
        flushBlock();
        m_out.append(char(0)); // block terminator
    }

private:
    // Twice the largest table, so probes stay short.
    static constexpr size_t tableSize = 8192;

    static size_t slotOf(uint32_t key) { return (key * 2654435761u) >> (32 - 13); }

    void restart() {
        m_keys.fill(0);
        m_nextCode = m_endCode + 1;
        m_codeSize = m_minCodeSize + 1;
    }

    // After each code the decoder has as many table entries as `m_nextCode` says; it widens
    // its codes once that count reaches the current width's limit, and so must we.
    void writeCode(int code) {
        m_bits |= uint64_t(code) << m_bitCount;
        m_bitCount += m_codeSize;
        while (m_bitCount >= 8) {
            put(static_cast<uint8_t>(m_bits));
            m_bits >>= 8;
            m_bitCount -= 8;
        }
        if (m_nextCode >= (1 << m_codeSize) && m_codeSize < maxCodeBits) {
            ++m_codeSize;
        }
    }

    void put(uint8_t byte) {
        m_block[m_blockLength++] = byte;
        if (m_blockLength == 255) {
            flushBlock();
        }
    }

    void flushBlock() {
        if (m_blockLength == 0) {
            return;
        }
        m_out.append(char(m_blockLength));
        m_out.append(reinterpret_cast<const char*>(m_block.data()), m_blockLength);
        m_blockLength = 0;
    }

    QByteArray& m_out;
    const int m_minCodeSize;
    const int m_clearCode;
    const int m_endCode;
    int m_nextCode = 0;
    int m_codeSize = 0;
    int m_prefix = -1;
    uint64_t m_bits = 0;
    int m_bitCount = 0;
    std::array<uint8_t, 255> m_block{};
    int m_blockLength = 0;
    // key + 1 of (prefix code, symbol); 0 marks a free slot.
    std::array<uint32_t, tableSize> m_keys{};
    std::array<uint16_t, tableSize> m_codes{};
};

void appendLittleEndian16(QByteArray& out, int value) {
    out.append(char(value & 0xff));
    out.append(char((value >> 8) & 0xff));
}

} // namespace

std::optional<QByteArray> encodeGif(const QImage& prepared) {
    const int width = prepared.width();
    const int height = prepared.height();
    if (width <= 0 || height <= 0 || width > 0xffff || height > 0xffff) {
        return std::nullopt;
    }
    PaletteQuantizer quantizer(prepared);
    const std::vector<QRgb>& palette = quantizer.palette();
    // The colour table holds 2^bits entries, at least 2.
    int bits = 1;
    while ((size_t(1) << bits) < palette.size()) {
        ++bits;
    }

    QByteArray out;
    out.append("GIF89a", 6);
    appendLittleEndian16(out, width);
    appendLittleEndian16(out, height);
    out.append(char(0x80 | 0x70 | (bits - 1))); // global table, 8 bits per primary, its size
    out.append(char(0));                        // background colour index
    out.append(char(0));                        // square pixels
    for (int i = 0; i < (1 << bits); ++i) {
        const QRgb c = i < int(palette.size()) ? palette[size_t(i)] : 0;
        out.append(char(qRed(c)));
        out.append(char(qGreen(c)));
        out.append(char(qBlue(c)));
    }
    if (const auto transparent = quantizer.transparentIndex()) {
        // Graphic control extension: no disposal, no delay, this index is transparent.
        const char control[] = {'\x21', '\xf9', 4, 1, 0, 0, char(*transparent), 0};
        out.append(control, sizeof control);
    }
    out.append(char(0x2c)); // image descriptor: the whole screen, no local table, not interlaced
    appendLittleEndian16(out, 0);
    appendLittleEndian16(out, 0);
    appendLittleEndian16(out, width);
    appendLittleEndian16(out, height);
    out.append(char(0));

    LzwEncoder lzw(std::max(2, bits), out);
    std::vector<uint8_t> indices(static_cast<size_t>(width));
    for (int y = 0; y < height; ++y) {
        quantizer.nextRow(indices.data());
        lzw.add(indices.data(), width);
    }
    lzw.finish();
    out.append(char(0x3b)); // trailer
    return out;
}

} // namespace vellumix::exportDetail
