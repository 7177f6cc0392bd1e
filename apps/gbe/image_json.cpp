#include "image_json.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>

#include <cstdio>
#include <iterator>

namespace gbe {
namespace {

const char* statusName(int status) {
    static constexpr const char* kNames[] = {"complete", "incomplete", "not understood"};
    static_assert(std::size(kNames) == GBE_IMAGE_NOT_UNDERSTOOD + 1);
    return status >= 0 && status <= GBE_IMAGE_NOT_UNDERSTOOD ? kNames[status] : "unknown";
}

QJsonValue number(std::uint64_t value) {
    return static_cast<qint64>(value);
}

QString hexadecimal(std::uint32_t value) {
    return QString("0x%1").arg(value, 8, 16, QLatin1Char('0'));
}

QJsonArray missingOf(const GbeImage& image) {
    QJsonArray array;
    for (std::size_t i = 0; i < image.missingCount; ++i) {
        array.append(QJsonObject{
            {"offset", number(image.missing[i].offset)}, {"length", number(image.missing[i].length)}});
    }
    return array;
}

QJsonArray chunksOf(const GbeImage& image) {
    QJsonArray array;
    for (std::size_t i = 0; i < image.chunkCount; ++i) {
        const GbeChunk& chunk = image.chunks[i];
        const QByteArray bytes(static_cast<const char*>(chunk.data), static_cast<int>(chunk.size));
        array.append(
            QJsonObject{{"id", hexadecimal(chunk.id)}, {"bytes", QString::fromLatin1(bytes.toHex())}});
    }
    return array;
}

} // namespace

QJsonObject imageJson(const GbeImage& image) {
    return {
        {"status", statusName(image.status)},
        {"blockId", number(image.blockId)},
        {"timestamp", number(image.timestamp)},
        {"timestampNs", number(image.timestampNs)},
        {"arrivedNs", number(image.arrivedNs)},
        {"payloadType", static_cast<int>(image.payloadType)},
        {"size", number(image.size)},
        {"width", static_cast<qint64>(image.width)},
        {"height", static_cast<qint64>(image.height)},
        {"offsetX", static_cast<qint64>(image.offsetX)},
        {"offsetY", static_cast<qint64>(image.offsetY)},
        {"paddingX", static_cast<qint64>(image.paddingX)},
        {"pixelFormat", QString::fromUtf8(image.pixelFormatName)},
        {"pixelFormatNumber", hexadecimal(image.pixelFormat)},
        {"geometryAssumed", image.geometryAssumed != 0},
        {"truncated", image.truncated != 0},
        {"missingBytes", number(image.missingBytes)},
        {"missing", missingOf(image)},
        {"chunks", chunksOf(image)},
    };
}

} // namespace gbe
