// JSON on standard output.
#pragma once

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <cstdio>

namespace gbe {

// In lines that people can read.
inline void print(const QJsonDocument& document) {
    std::printf("%s", document.toJson(QJsonDocument::Indented).constData());
}

// One object in one line, at once.
inline void printLine(const QJsonObject& object) {
    std::printf("%s\n", QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

} // namespace gbe
