#include "ConsoleText.h"

#include <QTextBoundaryFinder>

#include <unistd.h>

namespace vellumix::console {

using nlohmann::json;


QString excerpt(const QString& text, int limit) {
    // A window of the text is enough to find the limit; a huge body is never scanned whole.
    const QString window = text.left(qsizetype(limit) * 32);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, window);
    qsizetype end = 0;
    for (int i = 0; i < limit; ++i) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0) {
            break;
        }
        end = next;
    }
    if (end >= text.size()) {
        return text;
    }
    return text.left(end) + QStringLiteral("…");
}

json withoutImageData(json value) {
    if (value.is_array()) {
        for (json& item : value) {
            item = withoutImageData(std::move(item));
        }
        return value;
    }
    if (!value.is_object()) {
        return value;
    }
    for (auto& [key, member] : value.items()) {
        const bool image = key == "inline_data" || key == "inlineData";
        if (image && member.is_object() && member.contains("data")) {
            json& data = member["data"];
            const std::size_t size = data.is_string() ? data.get_ref<std::string&>().size() : 0;
            data = "<" + std::to_string(size) + " characters>";
        } else {
            member = withoutImageData(std::move(member));
        }
    }
    return value;
}

bool showsContextText(bool outputIsTerminal, const QString& logContextSetting) {
    return outputIsTerminal || logContextSetting.trimmed() == u"1";
}

bool showsContextText(int fd) {
    return showsContextText(isatty(fd) == 1, qEnvironmentVariable("VELLUMIX_LOG_CONTEXT"));
}

} // namespace vellumix::console
