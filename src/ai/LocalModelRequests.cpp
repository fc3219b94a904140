#include "LocalModelRequests.h"

namespace vellumix {

using nlohmann::ordered_json;

namespace {

std::string utf8(const QString& text) {
    return text.toStdString();
}

ordered_json messages(const QString& instructions, const QString& prompt) {
    return ordered_json::array({{{"role", "system"}, {"content", utf8(instructions)}},
                                {{"role", "user"}, {"content", utf8(prompt)}}});
}

QByteArray serialise(const ordered_json& body) {
    return QByteArray::fromStdString(body.dump());
}

// Enumerations the model must keep to; everything else is checked after the answer.
ordered_json enumFor(std::string_view directive, std::string_view field) {
    if (directive == "annotation") {
        if (field == "operation") {
            return {"create", "delete", "update"};
        }
        if (field == "kind") {
            return {"shape", "text"};
        }
        if (field == "shape") {
            return {"rect", "oval", ""};
        }
    } else if (field == "kind") {
        return {"sharpen", "contrast", "brightness", "blur"};
    }
    return nullptr;
}

template <std::size_t N>
ordered_json objectSchema(const std::array<FieldGuide, N>& guides, std::string_view directive) {
    ordered_json properties = ordered_json::object();
    ordered_json required = ordered_json::array();
    for (const FieldGuide& field : guides) {
        ordered_json property = {{"type", field.type}, {"description", field.guide}};
        if (ordered_json values = enumFor(directive, field.name); !values.is_null()) {
            property["enum"] = std::move(values);
        }
        properties[field.name] = std::move(property);
        required.push_back(field.name);
    }
    return {{"type", "object"},
            {"properties", std::move(properties)},
            {"required", std::move(required)},
            {"additionalProperties", false}};
}

} // namespace

QStringList localModelCandidateUrls(const QString& environmentUrl, const QString& storedUrl) {
    if (!environmentUrl.trimmed().isEmpty()) {
        return {environmentUrl.trimmed()};
    }
    const QString stored = storedUrl.trimmed();
    if (stored.isEmpty()) {
        return {};
    }
    QString bare = stored;
    while (bare.endsWith(QLatin1Char('/'))) {
        bare.chop(1);
    }
    if (bare == QLatin1String(Settings::defaultLocalModelURL)) {
        return {stored, QString::fromLatin1(localmodel::ollamaUrl)};
    }
    return {stored};
}

QUrl localModelEndpoint(const QString& baseUrl, const QString& path) {
    QString base = baseUrl.trimmed();
    while (base.endsWith(QLatin1Char('/'))) {
        base.chop(1);
    }
    return QUrl(base + path);
}

QString localModelPrompt(QueryRoute route, const QString& context, const QString& query) {
    const QString header = route == QueryRoute::question ? QStringLiteral("\n\nUser question:\n")
                                                         : QStringLiteral("\n\nUser request:\n");
    return QStringLiteral("Canvas state:\n") + context + header + query;
}

ordered_json annotationDirectiveSchema() {
    return objectSchema(annotationDirectiveGuides(), "annotation");
}

ordered_json filterDirectiveSchema() {
    return objectSchema(filterDirectiveGuides(), "filter");
}

ordered_json routeSchema() {
    return {
        {"type", "object"},
        {"properties",
         {{"route", {{"type", "string"}, {"enum", {"question", "imageEdit", "annotationEdit"}}}}}},
        {"required", {"route"}},
        {"additionalProperties", false}};
}

QByteArray localQuestionRequestBody(const QString& model, const QString& instructions,
                                    const QString& prompt) {
    return serialise(
        {{"model", utf8(model)}, {"messages", messages(instructions, prompt)}, {"stream", true}});
}

QByteArray localStructuredRequestBody(const QString& model, const QString& instructions,
                                      const QString& prompt, const char* schemaName,
                                      const ordered_json& schema) {
    return serialise(
        {{"model", utf8(model)},
         {"messages", messages(instructions, prompt)},
         {"stream", false},
         {"response_format",
          {{"type", "json_schema"},
           {"json_schema", {{"name", schemaName}, {"strict", true}, {"schema", schema}}}}}});
}

QByteArray localAnnotationEditRequestBody(const QString& model, const QString& instructions,
                                          const QString& context, const QString& query) {
    return localStructuredRequestBody(model, instructions,
                                      localModelPrompt(QueryRoute::annotationEdit, context, query),
                                      "AICanvasDirective", annotationDirectiveSchema());
}

QByteArray localImageEditRequestBody(const QString& model, const QString& instructions,
                                     const QString& context, const QString& query) {
    return localStructuredRequestBody(model, instructions,
                                      localModelPrompt(QueryRoute::imageEdit, context, query),
                                      "FilterDirective", filterDirectiveSchema());
}

QByteArray localClassifyRequestBody(const QString& model, const QString& query) {
    return localStructuredRequestBody(model, classifierInstructionsText(), query, "QueryRoute",
                                      routeSchema());
}

} // namespace vellumix
