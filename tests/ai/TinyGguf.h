#pragma once

#include <QByteArray>

namespace vellumix::test {

/// A llama-architecture model in GGUF form, about 350 KB, for a real llama-server to load:
/// one layer, 64-wide, a SentencePiece vocabulary of single characters with byte fall-back, and
/// a ChatML chat template. The weights are random (from a fixed seed) plus a few planted
/// preferences that make every answer end: a string closes at once, a number is 0, and a free
/// answer is a few characters of gibberish and then the end token. It tests the protocol and
/// the server's JSON-schema grammar, not meaning.
QByteArray tinyLlamaGguf();

} // namespace vellumix::test
