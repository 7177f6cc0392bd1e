// What the chunks behind an image say, by the names that the camera's description has for it. Immutable; any
// thread.
#pragma once

#include "liomol/images.h"

#include <QtCore/QJsonObject>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace gbe {

// In a description a chunk is a port with the chunk's id, and a register of that port is a place in the
// chunk's data (GenICam, chunk data). Registers at computed places and parts of registers are left out.
class ChunkFeatures {
public:
    // Of an empty or broken description there are none.
    explicit ChunkFeatures(const std::string& description);

    // Those whose chunk the image has: numbers and texts.
    QJsonObject of(const GbeImage& image) const;

private:
    enum class Kind : std::uint8_t { Integer, Float, Text };
    struct Feature {
        QString name;
        Kind kind = Kind::Integer;
        std::uint32_t chunk = 0;
        std::size_t address = 0;
        std::size_t length = 0; // bytes
        bool bigEndian = false;
        bool isSigned = false;
    };
    struct Node;
    static bool read(const Node& node, Feature& feature);
    static QJsonValue valueOf(const Feature& feature, const std::uint8_t* bytes);

    std::vector<Feature> m_features;
};

} // namespace gbe
