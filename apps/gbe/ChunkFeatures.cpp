#include "ChunkFeatures.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QXmlStreamReader>

#include <bit>
#include <cstring>

namespace gbe {

struct ChunkFeatures::Node {
    QString kind;
    QHash<QString, QString> values; // texts of the elements in it
};

namespace {

// Of a number as descriptions have it, "0x1F" or "31"; -1 when it is none.
qint64 numberOf(const QString& text) {
    bool good = false;
    const qint64 value = text.trimmed().toLongLong(&good, 0);
    return good ? value : -1;
}

} // namespace

// False for what is no register, or one that is not understood.
bool ChunkFeatures::read(const Node& node, Feature& feature) {
    static const QHash<QString, Kind> kKinds{
        {"IntReg", Kind::Integer}, {"FloatReg", Kind::Float}, {"StringReg", Kind::Text}};
    const qint64 address = numberOf(node.values.value("Address"));
    const qint64 length = numberOf(node.values.value("Length"));
    const bool isPlain = !node.values.contains("pAddress") && !node.values.contains("pIndex");
    if (!kKinds.contains(node.kind) || !isPlain || address < 0 || length <= 0) {
        return false;
    }
    feature.kind = kKinds.value(node.kind);
    feature.address = static_cast<std::size_t>(address);
    feature.length = static_cast<std::size_t>(length);
    feature.bigEndian = node.values.value("Endianess").trimmed() == "BigEndian";
    feature.isSigned = node.values.value("Sign").trimmed() == "Signed";
    return feature.kind == Kind::Text || (feature.kind == Kind::Integer && length <= 8) || length == 4 ||
           length == 8;
}

ChunkFeatures::ChunkFeatures(const std::string& description) {
    QHash<QString, Node> nodes;
    QHash<QString, QString> users; // of registers: who has them for its value
    QXmlStreamReader reader(QByteArray::fromStdString(description));
    while (!reader.atEnd()) {
        if (!reader.readNextStartElement()) {
            continue;
        }
        const QString name = reader.attributes().value(QLatin1String("Name")).toString();
        const QString kind = reader.name().toString();
        if (name.isEmpty() || kind == "RegisterDescription" || kind == "StructReg") {
            continue; // what is in it comes next
        }
        Node& node = nodes[name];
        node.kind = kind;
        while (reader.readNextStartElement()) {
            const QString field = reader.name().toString();
            node.values.insert(field, reader.readElementText(QXmlStreamReader::SkipChildElements));
        }
        if (node.values.contains("pValue")) {
            users.insert(node.values.value("pValue").trimmed(), name);
        }
    }
    for (auto node = nodes.cbegin(); node != nodes.cend(); ++node) {
        const auto port = nodes.constFind(node->values.value("pPort").trimmed());
        Feature feature{users.value(node.key(), node.key())};
        if (port != nodes.cend() && port->values.contains("ChunkID") && read(*node, feature)) {
            feature.chunk = port->values.value("ChunkID").trimmed().toUInt(nullptr, 16);
            m_features.push_back(feature);
        }
    }
}

QJsonValue ChunkFeatures::valueOf(const Feature& feature, const std::uint8_t* bytes) {
    if (feature.kind == Kind::Text) {
        const auto* text = reinterpret_cast<const char*>(bytes);
        return QString::fromUtf8(text, static_cast<int>(strnlen(text, feature.length)));
    }
    const std::uint8_t highest = bytes[feature.bigEndian ? 0 : feature.length - 1];
    std::uint64_t value =
        feature.isSigned && highest >= 0x80 ? ~std::uint64_t{0} : 0; // bits above it are its sign
    for (std::size_t i = 0; i < feature.length; ++i) {
        value = value << 8 | bytes[feature.bigEndian ? i : feature.length - 1 - i];
    }
    if (feature.kind == Kind::Float) {
        return feature.length == 4
                   ? static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(value)))
                   : std::bit_cast<double>(value);
    }
    return static_cast<qint64>(value);
}

QJsonObject ChunkFeatures::of(const GbeImage& image) const {
    QJsonObject object;
    for (std::size_t i = 0; i < image.chunkCount; ++i) {
        const GbeChunk& chunk = image.chunks[i];
        for (const Feature& feature : m_features) {
            if (feature.chunk == chunk.id && feature.address <= chunk.size &&
                feature.length <= chunk.size - feature.address) {
                object.insert(
                    feature.name,
                    valueOf(feature, static_cast<const std::uint8_t*>(chunk.data) + feature.address));
            }
        }
    }
    return object;
}

} // namespace gbe
