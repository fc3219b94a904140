#pragma once

#include "ai/Directives.h"
#include "library/Settings.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <nlohmann/json.hpp>

namespace vellumix {

namespace localmodel {
/// Ollama's address, tried when nothing answers at the default.
inline constexpr char ollamaUrl[] = "http://127.0.0.1:11434";
/// Answers larger than this are refused: no real answer comes near it.
inline constexpr qint64 maxResponseBytes = 16LL * 1024 * 1024;
} // namespace localmodel

/// The instruction texts the local model reads, one per kind of request, verbatim.
QString questionInstructionsText();
QString annotationEditInstructionsText();
QString imageEditInstructionsText();
QString classifierInstructionsText();

/// The addresses to try, in order: the environment's (tests) alone when set; none when the
/// stored address is empty (the user turned the local model off); the stored one, followed by
/// Ollama's when it is the default.
QStringList localModelCandidateUrls(const QString& environmentUrl, const QString& storedUrl);
/// base + path; a trailing "/" on the base is ignored.
QUrl localModelEndpoint(const QString& baseUrl, const QString& path);

/// "Canvas state:\n" + context + "\n\nUser question:\n" (or "User request:") + query.
QString localModelPrompt(QueryRoute route, const QString& context, const QString& query);

/// The JSON schemas the server constrains its answers to. The directive schemas carry the
/// field guides as property descriptions.
nlohmann::ordered_json annotationDirectiveSchema();
nlohmann::ordered_json filterDirectiveSchema();
nlohmann::ordered_json routeSchema();

/// Chat-completion bodies. Sampling options are left to the server; every request is a fresh
/// conversation of one system and one user message.
QByteArray localQuestionRequestBody(const QString& model, const QString& instructions,
                                    const QString& prompt);
QByteArray localStructuredRequestBody(const QString& model, const QString& instructions,
                                      const QString& prompt, const char* schemaName,
                                      const nlohmann::ordered_json& schema);
QByteArray localAnnotationEditRequestBody(const QString& model, const QString& instructions,
                                          const QString& context, const QString& query);
QByteArray localImageEditRequestBody(const QString& model, const QString& instructions,
                                     const QString& context, const QString& query);
QByteArray localClassifyRequestBody(const QString& model, const QString& query);

} // namespace vellumix
