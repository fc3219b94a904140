#include "CodableAnnotation.h"

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <simdjson.h>
#include <string_view>
#include <utility>
#include <vector>

namespace vellumix {

namespace {

namespace od = simdjson::ondemand;
using simdjson::SUCCESS;

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

std::string_view trimmedToken(std::string_view token) {
    while (!token.empty() && (token.back() == ' ' || token.back() == '\t' || token.back() == '\n' ||
                              token.back() == '\r')) {
        token.remove_suffix(1);
    }
    return token;
}

bool isJsonNumber(std::string_view s) {
    size_t i = 0;
    const auto digit = [&] { return i < s.size() && s[i] >= '0' && s[i] <= '9'; };
    const auto digits = [&] {
        if (!digit()) {
            return false;
        }
        while (digit()) {
            ++i;
        }
        return true;
    };
    if (i < s.size() && s[i] == '-') {
        ++i;
    }
    if (i < s.size() && s[i] == '0') {
        ++i;
    } else if (!digits()) {
        return false;
    }
    if (i < s.size() && s[i] == '.') {
        ++i;
        if (!digits()) {
            return false;
        }
    }
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
            ++i;
        }
        if (!digits()) {
            return false;
        }
    }
    return i == s.size();
}

// The exact way, for the numbers simdjson refuses or misreads (below). The file format takes any
// JSON number that is finite as a double; the C library reads it, in the C locale whatever the
// user's is.
bool readRareNumber(std::string_view token, double& out) {
    token = trimmedToken(token);
    if (!isJsonNumber(token)) {
        return false;
    }
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    if (cLocale == locale_t(nullptr)) {
        return false;
    }
    const std::string text(token);
    const double value = strtod_l(text.c_str(), nullptr, cLocale);
    if (!std::isfinite(value)) {
        return false;
    }
    out = value;
    return true;
}

bool readNumber(od::value& value, double& out) {
    const std::string_view token = value.raw_json_token();
    // simdjson 3.0 misreads a number below one with more than 19 significant digits
    // ("0.95000000000000000000" gives 0.0277, simdjson issue 2093); a token that long goes the
    // exact way.
    if (token.size() > 20 && (token[0] == '0' || (token[0] == '-' && token[1] == '0'))) {
        return readRareNumber(token, out);
    }
    // simdjson refuses valid numbers whose exponent has too many digits
    // ("1e-99999999999999999999").
    if (value.get_double().get(out) != SUCCESS) {
        return readRareNumber(token, out);
    }
    // The integer "-0" is zero: integers are exact values and have no negative zero.
    if (out == 0 && std::signbit(out) &&
        trimmedToken(token).find_first_of(".eE") == std::string_view::npos) {
        out = 0;
    }
    return true;
}

bool readNumberList(od::array array, NumberList& list) {
    list = NumberList();
    for (auto element : array) {
        od::value value;
        od::json_type type;
        double number = 0;
        if (element.get(value) != SUCCESS || value.type().get(type) != SUCCESS ||
            type != od::json_type::number || !readNumber(value, number)) {
            return false;
        }
        list.push(number);
    }
    return true;
}

bool readPoints(od::array array, std::vector<StoredPoint>& points) {
    points.clear();
    for (auto element : array) {
        od::array point;
        NumberList numbers;
        if (element.get_array().get(point) != SUCCESS || !readNumberList(point, numbers)) {
            return false;
        }
        points.push_back({numbers.values[0], numbers.values[1], numbers.count});
    }
    return true;
}

// On-Demand checks only what it is asked for and jumps over the rest by counting brackets, so a
// value this format does not use is walked all the way down and every scalar in it read, as
// strictly as a value in use. Levels are kept on a heap stack: an unknown key may hold a value
// nested deeper than the call stack could follow.
class UnusedValueChecker {
public:
    bool check(od::value value) {
        m_levels.clear();
        if (!enter(value)) {
            return false;
        }
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            od::value child;
            if (level.isObject) {
                if (level.started) {
                    ++level.member;
                }
                level.started = true;
                if (!(level.member != level.membersEnd)) {
                    m_levels.pop_back();
                    continue;
                }
                od::field field;
                std::string_view key;
                if ((*level.member).get(field) != SUCCESS ||
                    field.unescaped_key().get(key) != SUCCESS) {
                    return false;
                }
                child = field.value();
            } else {
                if (level.started) {
                    ++level.element;
                }
                level.started = true;
                if (!(level.element != level.elementsEnd)) {
                    m_levels.pop_back();
                    continue;
                }
                if ((*level.element).get(child) != SUCCESS) {
                    return false;
                }
            }
            if (!enter(child)) {
                return false;
            }
        }
        return true;
    }

private:
    struct Level {
        bool isObject = false;
        bool started = false;
        od::array_iterator element, elementsEnd;
        od::object_iterator member, membersEnd;
    };

    // Reads a scalar, or opens a container as a new level.
    bool enter(od::value& value) {
        od::json_type type;
        if (value.type().get(type) != SUCCESS) {
            return false;
        }
        switch (type) {
        case od::json_type::array: {
            od::array array;
            Level level;
            if (value.get_array().get(array) != SUCCESS ||
                array.begin().get(level.element) != SUCCESS ||
                array.end().get(level.elementsEnd) != SUCCESS) {
                return false;
            }
            m_levels.push_back(level);
            return true;
        }
        case od::json_type::object: {
            od::object object;
            Level level;
            level.isObject = true;
            if (value.get_object().get(object) != SUCCESS ||
                object.begin().get(level.member) != SUCCESS ||
                object.end().get(level.membersEnd) != SUCCESS) {
                return false;
            }
            m_levels.push_back(level);
            return true;
        }
        case od::json_type::number: {
            double number = 0;
            return readNumber(value, number);
        }
        case od::json_type::string: {
            std::string_view text;
            return value.get_string().get(text) == SUCCESS;
        }
        case od::json_type::boolean: {
            bool flag = false;
            return value.get_bool().get(flag) == SUCCESS;
        }
        case od::json_type::null: {
            bool isNull = false;
            return value.is_null().get(isNull) == SUCCESS && isNull;
        }
        }
        return false;
    }

    std::vector<Level> m_levels;
};

// Reads records with the same strict typing a decoder of the record would apply: any value of
// the wrong JSON type voids the file. Keys this format does not know are skipped whatever their
// value, provided it is valid JSON.
class RecordReader {
public:
    bool readRecord(od::object object, CodableAnnotation& record) {
        bool hasType = false;
        bool hasLineWidth = false;
        bool hasOpacity = false;
        for (auto member : object) {
            od::field field;
            std::string_view key;
            od::json_type type;
            if (std::move(member).get(field) != SUCCESS ||
                field.unescaped_key().get(key) != SUCCESS) {
                return false;
            }
            od::value& value = field.value();
            if (value.type().get(type) != SUCCESS) {
                return false;
            }
            const Field name = fieldNamed(key);
            // A null reads as an absent key, as a standard decoder treats optional keys; the
            // required keys (type, lineWidth, opacity) stay missing, which voids the file below.
            if (type == od::json_type::null) {
                bool isNull = false;
                if (value.is_null().get(isNull) != SUCCESS || !isNull) {
                    return false;
                }
                continue;
            }
            if (name == Field::unknown) {
                if (!m_unused.check(value)) {
                    return false;
                }
                continue;
            }
            if (!readField(name, type, value, record)) {
                return false;
            }
            hasType |= name == Field::type;
            hasLineWidth |= name == Field::lineWidth;
            hasOpacity |= name == Field::opacity;
        }
        return hasType && hasLineWidth && hasOpacity;
    }

private:
    static bool readField(Field name, od::json_type type, od::value& value,
                          CodableAnnotation& record) {
        switch (type) {
        case od::json_type::string:
            if (std::string* target = stringField(name, record)) {
                std::string_view text;
                if (value.get_string().get(text) != SUCCESS) {
                    return false;
                }
                target->assign(text);
                return true;
            }
            return false;
        case od::json_type::number: {
            double number = 0;
            return readNumber(value, number) && setNumber(name, number, record);
        }
        case od::json_type::boolean: {
            bool flag = false;
            if (name != Field::isLocked || value.get_bool().get(flag) != SUCCESS) {
                return false;
            }
            record.isLocked = flag;
            return true;
        }
        case od::json_type::array: {
            od::array array;
            if (value.get_array().get(array) != SUCCESS) {
                return false;
            }
            if (name == Field::points) {
                return readPoints(array, record.points.emplace());
            }
            NumberList* list = numberListField(name, record);
            return list != nullptr && readNumberList(array, *list);
        }
        default:
            return false;
        }
    }

    static std::string* stringField(Field name, CodableAnnotation& record) {
        switch (name) {
        case Field::type:
            return &record.type;
        case Field::shape:
            return &record.shape.emplace();
        case Field::overlayRef:
            return &record.overlayRef.emplace();
        case Field::text:
            return &record.text.emplace();
        case Field::fontFamily:
            return &record.fontFamily.emplace();
        case Field::fontStyle:
            return &record.fontStyle.emplace();
        case Field::lineStyle:
            return &record.lineStyle.emplace();
        case Field::arrowEndCap:
            return &record.arrowEndCap.emplace();
        case Field::id:
            return &record.id.emplace();
        default:
            return nullptr;
        }
    }

    static NumberList* numberListField(Field name, CodableAnnotation& record) {
        switch (name) {
        case Field::rect:
            return &record.rect.emplace();
        case Field::color:
            return &record.color.emplace();
        case Field::fillColor:
            return &record.fillColor.emplace();
        case Field::borderColor:
            return &record.borderColor.emplace();
        default:
            return nullptr;
        }
    }

    static bool setNumber(Field name, double value, CodableAnnotation& record) {
        switch (name) {
        case Field::lineWidth:
            record.lineWidth = value;
            return true;
        case Field::opacity:
            record.opacity = value;
            return true;
        case Field::fontSize:
            record.fontSize = value;
            return true;
        case Field::padding:
            record.padding = value;
            return true;
        case Field::borderWidth:
            record.borderWidth = value;
            return true;
        case Field::cornerRadius:
            record.cornerRadius = value;
            return true;
        case Field::alignment:
            // An integer field: any JSON number with an integral value.
            if (!std::isfinite(value) || value != std::trunc(value) || std::abs(value) > 9.0e15) {
                return false;
            }
            record.alignment = static_cast<long long>(value);
            return true;
        default:
            return false;
        }
    }

    UnusedValueChecker m_unused;
};

std::optional<std::vector<CodableAnnotation>> readRecords(od::parser& parser,
                                                          const simdjson::padded_string& text) {
    od::document document;
    od::array array;
    if (parser.iterate(text).get(document) != SUCCESS ||
        document.get_array().get(array) != SUCCESS) {
        return std::nullopt;
    }
    RecordReader reader;
    std::vector<CodableAnnotation> records;
    for (auto element : array) {
        od::object object;
        CodableAnnotation record;
        if (element.get_object().get(object) != SUCCESS || !reader.readRecord(object, record)) {
            return std::nullopt;
        }
        records.push_back(std::move(record));
    }
    // The array must have closed at the very end of the text: nothing may follow it.
    if (document.current_depth() != 0 ||
        document.current_location().error() != simdjson::OUT_OF_BOUNDS) {
        return std::nullopt;
    }
    return records;
}

// Files up to this size leave their parser's buffers to the next file read on the same thread.
constexpr size_t keptParserCapacity = 16 * 1024 * 1024;

} // namespace

std::optional<std::vector<CodableAnnotation>> decodeRecords(std::string_view json) {
    // A leading byte order mark is allowed, as JSON lets readers ignore one.
    if (json.starts_with("\xEF\xBB\xBF")) {
        json.remove_prefix(3);
    }
    const simdjson::padded_string text(json);
    if (text.data() == nullptr) {
        return std::nullopt;
    }
    // One parser per thread, kept between files: faulting in fresh buffers on every call took
    // as long as the parse itself for a 3 MB file.
    thread_local od::parser parser;
    auto records = readRecords(parser, text);
    if (parser.capacity() > keptParserCapacity) {
        parser = od::parser();
    }
    return records;
}

} // namespace vellumix
