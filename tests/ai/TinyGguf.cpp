#include "TinyGguf.h"

#include <QtEndian>

#include <array>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace vellumix::test {

namespace {

constexpr int width = 64; // embedding length
constexpr int feedForward = 128;
constexpr int heads = 4;
constexpr int contextLength = 32768; // the instructions are long and every character a token
constexpr std::size_t alignment = 32;

// GGUF value types and tensor type.
enum : std::uint32_t { u32 = 4, i32 = 5, f32 = 6, boolean = 7, string = 8, array = 9 };
constexpr std::uint32_t tensorF32 = 0;
// SentencePiece token types.
enum : std::int32_t { normal = 1, unknown = 2, control = 3, byte = 6 };

class Writer {
public:
    template <class T> void number(T value) {
        const T little = qToLittleEndian(value);
        bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
    }
    void text(const std::string& s) {
        number<std::uint64_t>(s.size());
        bytes.append(s.data(), qsizetype(s.size()));
    }
    void key(const std::string& name, std::uint32_t type) {
        text(name);
        number(type);
        ++keys;
    }
    void pad() {
        while (bytes.size() % alignment != 0) {
            bytes.append('\0');
        }
    }
    QByteArray bytes;
    std::uint64_t keys = 0;
};

struct Vocabulary {
    std::vector<std::string> tokens;
    std::vector<std::int32_t> types;
    int add(std::string token, std::int32_t type) {
        tokens.push_back(std::move(token));
        types.push_back(type);
        return int(tokens.size()) - 1;
    }
    int id(const std::string& token) const {
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            if (tokens[i] == token) {
                return int(i);
            }
        }
        return -1;
    }
};

Vocabulary vocabulary() {
    Vocabulary v;
    v.add("<unk>", unknown);
    v.add("<s>", control);
    v.add("</s>", control);
    for (int b = 0; b < 256; ++b) {
        char name[8];
        std::snprintf(name, sizeof name, "<0x%02X>", b);
        v.add(name, byte);
    }
    v.add("<|im_start|>", control);
    v.add("<|im_end|>", control);
    v.add("\xe2\x96\x81", normal); // "▁", SentencePiece's space
    for (char c = '!'; c <= '~'; ++c) {
        v.add(std::string(1, c), normal);
    }
    return v;
}

struct Tensor {
    std::string name;
    std::vector<std::uint64_t> shape; // innermost first, as GGUF stores it
    std::vector<float> data;
};

// Small random weights: whatever the layers add stays well below the planted preferences.
std::vector<float> noise(std::size_t count, std::mt19937& random) {
    std::normal_distribution<float> normalNoise(0.0F, 0.02F);
    std::vector<float> values(count);
    for (float& v : values) {
        v = normalNoise(random);
    }
    return values;
}

std::vector<Tensor> tensors(const Vocabulary& v, std::mt19937& random) {
    const std::uint64_t n = v.tokens.size();
    Tensor embedding{"token_embd.weight", {width, n}, noise(width * n, random)};
    Tensor output{"output.weight", {width, n}, noise(width * n, random)};
    // Direction 0 is in every token: it makes '"' the first choice, then '0', so strings close
    // and numbers stay 0. '"' carries direction 1, which makes the end token follow it. The
    // prompt's last token (a newline byte) starts a chain of three letters over directions 2-4.
    const auto row = [](Tensor& t, int token) { return t.data.begin() + token * width; };
    for (std::uint64_t t = 0; t < n; ++t) {
        row(embedding, int(t))[0] += 1.0F;
    }
    const int quote = v.id("\"");
    const int chain[] = {v.id("<0x0A>"), v.id("V"), v.id("m"), v.id("x")};
    row(output, quote)[0] += 2.0F;
    row(output, v.id("0"))[0] += 1.0F;
    row(embedding, quote)[1] += 2.0F;
    row(output, v.id("<|im_end|>"))[1] += 3.0F;
    for (int i = 0; i < 3; ++i) {
        row(embedding, chain[i])[2 + i] += 2.0F;
        row(output, chain[i + 1])[2 + i] += 3.0F;
    }
    const auto ones = [](std::uint64_t count) { return std::vector<float>(count, 1.0F); };
    return {
        std::move(embedding),
        {"output_norm.weight", {width}, ones(width)},
        std::move(output),
        {"blk.0.attn_norm.weight", {width}, ones(width)},
        {"blk.0.attn_q.weight", {width, width}, noise(width * width, random)},
        {"blk.0.attn_k.weight", {width, width}, noise(width * width, random)},
        {"blk.0.attn_v.weight", {width, width}, noise(width * width, random)},
        {"blk.0.attn_output.weight", {width, width}, noise(width * width, random)},
        {"blk.0.ffn_norm.weight", {width}, ones(width)},
        {"blk.0.ffn_gate.weight", {width, feedForward}, noise(width * feedForward, random)},
        {"blk.0.ffn_down.weight", {feedForward, width}, noise(width * feedForward, random)},
        {"blk.0.ffn_up.weight", {width, feedForward}, noise(width * feedForward, random)},
    };
}

void writeMetadata(Writer& w, const Vocabulary& v) {
    const auto u32Value = [&w](const std::string& name, std::uint32_t value) {
        w.key(name, u32);
        w.number(value);
    };
    const auto textValue = [&w](const std::string& name, const std::string& value) {
        w.key(name, string);
        w.text(value);
    };
    textValue("general.architecture", "llama");
    textValue("general.name", "vellumix-test-tiny");
    u32Value("llama.context_length", contextLength);
    u32Value("llama.embedding_length", width);
    u32Value("llama.block_count", 1);
    u32Value("llama.feed_forward_length", feedForward);
    u32Value("llama.attention.head_count", heads);
    u32Value("llama.attention.head_count_kv", heads);
    u32Value("llama.rope.dimension_count", width / heads);
    w.key("llama.attention.layer_norm_rms_epsilon", f32);
    w.number(1e-5F);
    textValue("tokenizer.ggml.model", "llama");
    w.key("tokenizer.ggml.tokens", array);
    w.number(string);
    w.number<std::uint64_t>(v.tokens.size());
    for (const std::string& token : v.tokens) {
        w.text(token);
    }
    w.key("tokenizer.ggml.scores", array);
    w.number(f32);
    w.number<std::uint64_t>(v.tokens.size());
    for (std::size_t i = 0; i < v.tokens.size(); ++i) {
        w.number(-1.0F);
    }
    w.key("tokenizer.ggml.token_type", array);
    w.number(i32);
    w.number<std::uint64_t>(v.types.size());
    for (const std::int32_t type : v.types) {
        w.number(type);
    }
    u32Value("tokenizer.ggml.unknown_token_id", 0);
    u32Value("tokenizer.ggml.bos_token_id", 1);
    u32Value("tokenizer.ggml.eos_token_id", std::uint32_t(v.id("<|im_end|>")));
    w.key("tokenizer.ggml.add_bos_token", boolean);
    w.number<std::uint8_t>(0);
    // The server checks the chat template's "<|im_start|>assistant\n" against the grammar of a
    // structured answer; a space put before "assistant" would not match it.
    w.key("tokenizer.ggml.add_space_prefix", boolean);
    w.number<std::uint8_t>(0);
    textValue("tokenizer.chat_template",
              "{% for message in messages %}{{'<|im_start|>' + message['role'] + '\\n' + "
              "message['content'] + '<|im_end|>' + '\\n'}}{% endfor %}{% if "
              "add_generation_prompt %}{{ '<|im_start|>assistant\\n' }}{% endif %}");
}

} // namespace

QByteArray tinyLlamaGguf() {
    std::mt19937 random(20260526);
    const Vocabulary v = vocabulary();
    const std::vector<Tensor> all = tensors(v, random);

    Writer metadata;
    writeMetadata(metadata, v);
    Writer w;
    w.bytes.append("GGUF", 4);
    w.number<std::uint32_t>(3);
    w.number<std::uint64_t>(all.size());
    w.number(metadata.keys);
    w.bytes.append(metadata.bytes);
    std::uint64_t offset = 0;
    for (const Tensor& t : all) {
        w.text(t.name);
        w.number<std::uint32_t>(t.shape.size());
        for (const std::uint64_t side : t.shape) {
            w.number(side);
        }
        w.number(tensorF32);
        w.number(offset);
        offset += (t.data.size() * sizeof(float) + alignment - 1) / alignment * alignment;
    }
    for (const Tensor& t : all) {
        w.pad();
        for (const float value : t.data) {
            w.number(value);
        }
    }
    return w.bytes;
}

} // namespace vellumix::test
