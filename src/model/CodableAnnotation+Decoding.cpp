#include "CodableAnnotation.h"
#include "Parallel.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

namespace vellumix {

namespace {

using Json = nlohmann::json;

enum class Field {
    type,
    shape,
    rect,
    points,
    color,
    lineWidth,
    fillColor,
    opacity,
    overlayRef,
    text,
    fontFamily,
    fontStyle,
    fontSize,
    alignment,
    padding,
    borderColor,
    borderWidth,
    cornerRadius,
    lineStyle,
    arrowEndCap,
    isLocked,
    id,
    unknown
};

Field fieldNamed(std::string_view key) {
    static constexpr std::pair<std::string_view, Field> names[] = {
        {"type", Field::type},
        {"shape", Field::shape},
        {"rect", Field::rect},
        {"points", Field::points},
        {"color", Field::color},
        {"lineWidth", Field::lineWidth},
        {"fillColor", Field::fillColor},
        {"opacity", Field::opacity},
        {"overlayRef", Field::overlayRef},
        {"text", Field::text},
        {"fontFamily", Field::fontFamily},
        {"fontStyle", Field::fontStyle},
        {"fontSize", Field::fontSize},
        {"alignment", Field::alignment},
        {"padding", Field::padding},
        {"borderColor", Field::borderColor},
        {"borderWidth", Field::borderWidth},
        {"cornerRadius", Field::cornerRadius},
        {"lineStyle", Field::lineStyle},
        {"arrowEndCap", Field::arrowEndCap},
        {"isLocked", Field::isLocked},
        {"id", Field::id},
    };
    for (const auto& [name, field] : names) {
        if (key.size() == name.size() && key == name) {
            return field;
        }
    }
    return Field::unknown;
}

bool isNumberArray(Field f) {
    return f == Field::rect || f == Field::color || f == Field::fillColor ||
           f == Field::borderColor;
}

bool isString(Field f) {
    return f == Field::type || f == Field::shape || f == Field::overlayRef || f == Field::text ||
           f == Field::fontFamily || f == Field::fontStyle || f == Field::lineStyle ||
           f == Field::arrowEndCap || f == Field::id;
}

// Streams an array of records straight into CodableAnnotation values, with the same strict
// typing a decoder of the record would apply: any value of the wrong JSON type stops the parse.
// Keys this format does not know are skipped whatever their value.
class RecordReader final : public nlohmann::json_sax<Json> {
public:
    std::vector<CodableAnnotation> records;

    // A null reads as an absent key, as a standard decoder treats optional keys; the required
    // keys (type, lineWidth, opacity) stay missing, which voids the file at the record's end.
    // Inside a number list a null is a value of the wrong type.
    bool null() override {
        if (skipping()) {
            return true;
        }
        if (!inRecordValue()) {
            return false;
        }
        return done();
    }
    bool boolean(bool value) override {
        if (skipping()) {
            return true;
        }
        if (!inRecordValue()) {
            return false;
        }
        if (m_field == Field::isLocked) {
            m_record.isLocked = value;
            return done();
        }
        return consumeUnknown();
    }
    bool number_integer(number_integer_t value) override { return number(double(value)); }
    bool number_unsigned(number_unsigned_t value) override { return number(double(value)); }
    bool number_float(number_float_t value, const string_t&) override { return number(value); }
    bool string(string_t& value) override {
        if (skipping()) {
            return true;
        }
        if (!inRecordValue()) {
            return false;
        }
        if (!isString(m_field)) {
            return consumeUnknown();
        }
        std::string& target = stringField();
        target = std::move(value);
        return done();
    }
    bool binary(binary_t&) override { return false; }

    bool start_object(std::size_t) override {
        if (skipping() || (inRecordValue() && m_field == Field::unknown)) {
            ++m_skipDepth;
            return true;
        }
        if (m_state != State::betweenRecords) {
            return false;
        }
        m_record = CodableAnnotation();
        m_hasType = m_hasLineWidth = m_hasOpacity = false;
        m_state = State::expectingKey;
        return true;
    }
    bool key(string_t& key) override {
        if (skipping()) {
            return true;
        }
        if (m_state != State::expectingKey) {
            return false;
        }
        m_field = fieldNamed(key);
        m_state = State::expectingValue;
        return true;
    }
    bool end_object() override {
        if (skipping()) {
            return leaveSkipped();
        }
        if (m_state != State::expectingKey || !m_hasType || !m_hasLineWidth || !m_hasOpacity) {
            return false;
        }
        records.push_back(std::move(m_record));
        m_state = State::betweenRecords;
        return true;
    }
    bool start_array(std::size_t) override {
        if (skipping() || (inRecordValue() && m_field == Field::unknown)) {
            ++m_skipDepth;
            return true;
        }
        switch (m_state) {
        case State::start:
            m_state = State::betweenRecords;
            return true;
        case State::expectingValue:
            if (isNumberArray(m_field)) {
                m_numbers = NumberList();
                m_state = State::inNumbers;
                return true;
            }
            if (m_field == Field::points) {
                m_points.clear();
                m_state = State::inPoints;
                return true;
            }
            return false;
        case State::inPoints:
            m_numbers = NumberList();
            m_state = State::inPoint;
            return true;
        default:
            return false;
        }
    }
    bool end_array() override {
        if (skipping()) {
            return leaveSkipped();
        }
        switch (m_state) {
        case State::betweenRecords:
            m_state = State::finished;
            return true;
        case State::inNumbers:
            numberArrayField() = m_numbers;
            m_state = State::expectingValue;
            return done();
        case State::inPoint:
            m_points.push_back({m_numbers.values[0], m_numbers.values[1], m_numbers.count});
            m_state = State::inPoints;
            return true;
        case State::inPoints:
            m_record.points = std::move(m_points);
            m_points = {};
            m_state = State::expectingValue;
            return done();
        default:
            return false;
        }
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

    bool finished() const { return m_state == State::finished; }

private:
    enum class State {
        start,
        betweenRecords,
        expectingKey,
        expectingValue,
        inNumbers,
        inPoints,
        inPoint,
        finished
    };

    bool skipping() const { return m_skipDepth > 0; }
    bool inRecordValue() const { return m_state == State::expectingValue; }
    bool leaveSkipped() {
        if (--m_skipDepth == 0) {
            return done();
        }
        return true;
    }
    // A scalar value of an unknown key: nothing to keep.
    bool consumeUnknown() { return m_field == Field::unknown && done(); }
    bool done() {
        m_state = State::expectingKey;
        return true;
    }

    bool number(double value) {
        if (skipping()) {
            return true;
        }
        if (m_state == State::inNumbers || m_state == State::inPoint) {
            m_numbers.push(value);
            return true;
        }
        if (!inRecordValue()) {
            return false;
        }
        switch (m_field) {
        case Field::lineWidth:
            m_record.lineWidth = value;
            m_hasLineWidth = true;
            break;
        case Field::opacity:
            m_record.opacity = value;
            m_hasOpacity = true;
            break;
        case Field::fontSize:
            m_record.fontSize = value;
            break;
        case Field::padding:
            m_record.padding = value;
            break;
        case Field::borderWidth:
            m_record.borderWidth = value;
            break;
        case Field::cornerRadius:
            m_record.cornerRadius = value;
            break;
        case Field::alignment:
            // An integer field: any JSON number with an integral value.
            if (!std::isfinite(value) || value != std::trunc(value) || std::abs(value) > 9.0e15) {
                return false;
            }
            m_record.alignment = static_cast<long long>(value);
            break;
        case Field::unknown:
            break;
        default:
            return false;
        }
        return done();
    }

    std::string& stringField() {
        switch (m_field) {
        case Field::type:
            m_hasType = true;
            return m_record.type;
        case Field::shape:
            return m_record.shape.emplace();
        case Field::overlayRef:
            return m_record.overlayRef.emplace();
        case Field::text:
            return m_record.text.emplace();
        case Field::fontFamily:
            return m_record.fontFamily.emplace();
        case Field::fontStyle:
            return m_record.fontStyle.emplace();
        case Field::lineStyle:
            return m_record.lineStyle.emplace();
        case Field::arrowEndCap:
            return m_record.arrowEndCap.emplace();
        default:
            return m_record.id.emplace();
        }
    }

    NumberList& numberArrayField() {
        switch (m_field) {
        case Field::rect:
            return m_record.rect.emplace();
        case Field::color:
            return m_record.color.emplace();
        case Field::fillColor:
            return m_record.fillColor.emplace();
        default:
            return m_record.borderColor.emplace();
        }
    }

    State m_state = State::start;
    Field m_field = Field::unknown;
    int m_skipDepth = 0;
    CodableAnnotation m_record;
    bool m_hasType = false;
    bool m_hasLineWidth = false;
    bool m_hasOpacity = false;
    NumberList m_numbers;
    std::vector<StoredPoint> m_points;
};

std::optional<std::vector<CodableAnnotation>> readRecords(std::string_view json) {
    RecordReader reader;
    try {
        if (!Json::sax_parse(json.begin(), json.end(), &reader) || !reader.finished()) {
            return std::nullopt;
        }
    } catch (...) {
        return std::nullopt;
    }
    return std::move(reader.records);
}

// Offsets of the commas that separate the top-level array's elements (strings and nesting
// skipped). A malformed file simply yields pieces that fail to parse.
std::vector<size_t> topLevelCommas(std::string_view json, size_t wanted) {
    std::vector<size_t> commas;
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    const size_t stride = json.size() / (wanted + 1);
    size_t nextWanted = stride;
    for (size_t i = 0; i < json.size() && commas.size() < wanted; ++i) {
        const char c = json[i];
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (c == '\\') {
                escaped = true;
            } else if (c == '"') {
                inString = false;
            }
            continue;
        }
        if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            ++depth;
        } else if (c == ']' || c == '}') {
            --depth;
        } else if (c == ',' && depth == 1 && i >= nextWanted) {
            commas.push_back(i);
            nextWanted = i + stride;
        }
    }
    return commas;
}

// Large files are cut at top-level commas into pieces of whole records; each piece, closed with
// brackets again, is parsed on its own core.
constexpr long long parallelThreshold = 256 * 1024;

} // namespace

std::optional<std::vector<CodableAnnotation>> decodeRecords(std::string_view json) {
    const int pieces = parallelPieces(static_cast<long long>(json.size()), parallelThreshold);
    if (pieces == 1) {
        return readRecords(json);
    }
    const std::vector<size_t> commas = topLevelCommas(json, static_cast<size_t>(pieces - 1));
    if (commas.empty()) {
        return readRecords(json);
    }
    // Piece 0 keeps the opening bracket, the last one the closing bracket; the others get theirs.
    std::vector<std::string> texts(commas.size() + 1);
    size_t begin = 0;
    for (size_t i = 0; i < texts.size(); ++i) {
        const size_t end = i < commas.size() ? commas[i] : json.size();
        texts[i].reserve(end - begin + 2);
        if (i > 0) {
            texts[i] += '[';
        }
        texts[i].append(json.substr(begin, end - begin));
        if (i < commas.size()) {
            texts[i] += ']';
        }
        begin = end + 1;
    }
    std::vector<std::optional<std::vector<CodableAnnotation>>> results(texts.size());
    runInParallel(static_cast<int>(texts.size()),
                  [&](int i) { results[size_t(i)] = readRecords(texts[size_t(i)]); });
    std::vector<CodableAnnotation> records;
    for (auto& result : results) {
        if (!result) {
            return std::nullopt;
        }
        if (records.empty()) {
            records = std::move(*result);
        } else {
            std::move(result->begin(), result->end(), std::back_inserter(records));
        }
    }
    return records;
}

} // namespace vellumix
