// JSON on standard output.
#pragma once

#include "Failure.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <cstdio>

namespace gbe {

// In lines that people can read.
inline void print(const QJsonDocument& document) {
    std::printf("%s", document.toJson(QJsonDocument::Indented).constData());
}

// One object in one line, at once. Throws Failure.
inline void printLine(const QJsonObject& object) {
    std::printf("%s\n", QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    flushOutput();
}

} // namespace gbe
