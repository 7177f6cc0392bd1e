// The description that the camera is built with: whole, consistent, true to the registers, and where the URLs
// say.
#include "harness.h"

#include <rapidxml.hpp>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

namespace {

using namespace simcam_test;
using Node = rapidxml::xml_node<char>;

// The text and the tree over it.
struct Document {
    Document() {
        const auto view = simcam::builtInDescription();
        text.assign(view.begin(), view.end());
        text.push_back('\0');
        xml.parse<0>(reinterpret_cast<char*>(text.data()));
        collect(xml.first_node("RegisterDescription"));
    }

    // Nodes by name, StructEntries with their StructReg's properties; nothing of an Extension.
    void collect(Node* parent) {
        for (Node* node = parent->first_node(); node != nullptr; node = node->next_sibling()) {
            const std::string kind = node->name();
            ++kinds[kind];
            if (kind == "Extension") {
                continue;
            }
            if (const auto* name = node->first_attribute("Name"); name != nullptr && kind != "EnumEntry") {
                duplicates += nodes.count(name->value());
                nodes[name->value()] = node;
            }
            if (kind == "Group" || kind == "StructReg") {
                collect(node);
            } else {
                for (Node* child = node->first_node(); child != nullptr; child = child->next_sibling()) {
                    ++kinds[child->name()];
                }
            }
        }
    }

    Bytes text;
    rapidxml::xml_document<char> xml;
    std::map<std::string, Node*> nodes;
    std::map<std::string, int> kinds;
    std::size_t duplicates = 0;
};

TEST(SimcamDescription, UsesEveryKindAndNoNameTwice) {
    const Document document;
    for (const char* kind :
         {"Node",      "Category",    "Integer",      "IntReg",     "MaskedIntReg",  "Boolean",
          "Command",   "Enumeration", "EnumEntry",    "Float",      "FloatReg",      "StringReg",
          "Register",  "Converter",   "IntConverter", "SwissKnife", "IntSwissKnife", "Port",
          "StructReg", "StructEntry", "Group",        "pIndex",     "pVariable",     "Extension"}) {
        EXPECT_GT(document.kinds.count(kind), 0u) << kind;
    }
    EXPECT_EQ(document.duplicates, 0u);
}

TEST(SimcamDescription, EveryReferenceHasItsNode) {
    const Document document;
    for (const auto& [name, node] : document.nodes) {
        for (Node* child = node->first_node(); child != nullptr; child = child->next_sibling()) {
            const std::string kind = child->name();
            if (kind.size() > 1 && kind[0] == 'p' && kind[1] >= 'A' && kind[1] <= 'Z') {
                EXPECT_TRUE(document.nodes.count(child->value()))
                    << name << " " << kind << " " << child->value();
            }
        }
    }
}

void features(const Document& document, const std::string& name, std::set<std::string>& found) {
    Node* category = document.nodes.at(name);
    for (Node* f = category->first_node("pFeature"); f != nullptr; f = f->next_sibling("pFeature")) {
        const bool isCategory = std::string(document.nodes.at(f->value())->name()) == "Category";
        if (isCategory) {
            features(document, f->value(), found);
        } else {
            EXPECT_TRUE(found.insert(f->value()).second) << f->value() << " is in two categories";
        }
    }
}

TEST(SimcamDescription, HasManyFeaturesAndTheExpectedOnes) {
    const Document document;
    std::set<std::string> found;
    features(document, "Root", found);
    EXPECT_GE(found.size(), 150u);
    for (const char* name :
         {"Width",
          "Height",
          "OffsetX",
          "OffsetY",
          "PixelFormat",
          "PayloadSize",
          "AcquisitionMode",
          "AcquisitionStart",
          "AcquisitionStop",
          "AcquisitionFrameRate",
          "ExposureTime",
          "Gain",
          "DeviceModelName",
          "DeviceVendorName",
          "DeviceVersion",
          "DeviceID",
          "DeviceUserID",
          "DeviceTemperature",
          "TLParamsLocked",
          "UserSetSelector",
          "UserSetLoad",
          "UserSetSave",
          "TestPattern",
          "TriggerMode",
          "TriggerSelector",
          "TriggerSource",
          "TriggerSoftware",
          "LineSelector",
          "GevSCPSPacketSize"}) {
        EXPECT_TRUE(found.count(name)) << name;
    }
}

// --- the registers ---

std::string childText(Node* node, const char* name, const std::string& otherwise = "") {
    Node* child = node->first_node(name);
    return child == nullptr ? otherwise : child->value();
}

// The register of the table at the lowest address that the node can have.
std::optional<simcam::Place> placeOf(const Document& document, Node* node) {
    unsigned long address = 0;
    for (Node* a = node->first_node("Address"); a != nullptr; a = a->next_sibling("Address")) {
        address += std::stoul(a->value(), nullptr, 0);
    }
    for (Node* a = node->first_node("pAddress"); a != nullptr; a = a->next_sibling("pAddress")) {
        const std::string name = a->value();
        address += name == "CounterBlockReg" ? 0xB000u : name == "TimerBlockReg" ? 0xB100u : 0u;
    }
    (void)document;
    return simcam::Registers::find(static_cast<simcam::Address>(address));
}

TEST(SimcamDescription, RegistersAgreeWithTheTable) {
    const Document document;
    int registers = 0;
    for (const auto& [name, node] : document.nodes) {
        const bool entry = std::string(node->name()) == "StructEntry";
        Node* source = entry ? node->parent() : node;
        if (source->first_node("pPort") == nullptr) {
            continue;
        }
        ++registers;
        SCOPED_TRACE(name);
        const auto place = placeOf(document, source);
        ASSERT_TRUE(place);
        const simcam::RegisterFact& row = simcam::fact(place->reg);
        const std::string kind = node->name();
        const unsigned long length = std::stoul(childText(source, "Length", "0"));
        const std::uint32_t room = row.bytes() - place->index * row.size - place->offset;
        // GevTimestampValue is two registers of the table.
        EXPECT_TRUE(length <= room || row.name == "TimestampHigh") << length << " bytes at " << row.name;
        const std::string access = childText(source, "AccessMode");
        EXPECT_TRUE(
            access == "RO"   ? row.access != simcam::Access::WO
            : access == "WO" ? row.access == simcam::Access::WO
                             : row.access == simcam::Access::RW);
        if (kind == "FloatReg") {
            EXPECT_EQ(row.kind, simcam::Kind::Float);
        }
        const bool isNumber = row.kind != simcam::Kind::Text && source->first_node("Endianess") != nullptr;
        if (isNumber) {
            EXPECT_EQ(childText(source, "Endianess") == "LittleEndian", row.order == simcam::Order::LE);
        }
        // What user sets load is stale in every cache; StringRegs and volatile registers have none.
        if (row.role == simcam::Role::Setting && childText(source, "Cachable") != "NoCache") {
            std::set<std::string> invalidators;
            for (Node* i = source->first_node("pInvalidator"); i != nullptr;
                 i = i->next_sibling("pInvalidator")) {
                invalidators.insert(i->value());
            }
            EXPECT_TRUE(invalidators.count("UserSetLoadReg"));
        }
    }
    EXPECT_GT(registers, 140);
}

TEST(SimcamDescription, EnumerationsKnowTheValuesThatTheCameraStartsWith) {
    const Document document;
    Bench bench;
    for (const auto& [name, node] : document.nodes) {
        const std::string reg = childText(node, "pValue");
        if (std::string(node->name()) != "Enumeration" || reg.empty()) {
            continue;
        }
        Node* target = document.nodes.at(reg);
        if (std::string(target->name()) != "IntReg" || childText(target, "AccessMode") == "WO") {
            continue;
        }
        const auto place = placeOf(document, target);
        ASSERT_TRUE(place) << name;
        const std::uint32_t value = bench.read(simcam::fact(place->reg).address);
        bool known = false;
        for (Node* e = node->first_node("EnumEntry"); e != nullptr; e = e->next_sibling("EnumEntry")) {
            known = known || std::stoul(childText(e, "Value"), nullptr, 0) == value;
        }
        const bool little = simcam::fact(place->reg).order == simcam::Order::LE;
        EXPECT_TRUE(known || little) << name << " holds " << value;
    }
}

// --- where it lies ---

std::string urlAt(Bench& bench, std::uint32_t address) {
    const Bytes bytes = bench.readMemory(address, 512);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t{0})};
}

Bytes fetch(Bench& bench, const std::string& url) {
    char name[64];
    unsigned address = 0;
    unsigned length = 0;
    EXPECT_EQ(std::sscanf(url.c_str(), "Local:%63[^;];%x;%x", name, &address, &length), 3) << url;
    Bytes content;
    while (content.size() < length) {
        const auto left = static_cast<unsigned>(length - content.size());
        const unsigned block =
            std::min(536u, (left + 7) / 8 * 8); // as this system's host asks for the last block
        content =
            content + bench.readMemory(
                          address + static_cast<unsigned>(content.size()), static_cast<std::uint16_t>(block));
    }
    content.resize(length);
    return content;
}

// The first entry of an archive, by its central directory alone.
Bytes unzipped(const Bytes& zip) {
    const auto le = [&](std::size_t at, int count) {
        std::size_t value = 0;
        while (count-- > 0) {
            value = value << 8 | zip.at(at + static_cast<std::size_t>(count));
        }
        return value;
    };
    const std::size_t end = zip.size() - 22;
    EXPECT_EQ(le(end, 4), 0x06054b50u);
    EXPECT_EQ(le(end + 10, 2), 1u);
    const std::size_t directory = le(end + 16, 4);
    EXPECT_EQ(directory + le(end + 12, 4), end);
    EXPECT_EQ(le(directory, 4), 0x02014b50u);
    const std::size_t local = le(directory + 42, 4);
    EXPECT_EQ(le(local, 4), 0x04034b50u);
    const std::size_t data = local + 30 + le(local + 26, 2) + le(local + 28, 2);
    Bytes out(le(directory + 24, 4));
    z_stream stream{};
    inflateInit2(&stream, -MAX_WBITS);
    stream.next_in = const_cast<Bytef*>(zip.data() + data);
    stream.avail_in = static_cast<uInt>(le(directory + 20, 4));
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
    inflateEnd(&stream);
    EXPECT_EQ(crc32(0, out.data(), static_cast<uInt>(out.size())), le(directory + 16, 4));
    return out;
}

TEST(SimcamDescription, IsInMemoryZippedAndPlain) {
    Bench bench;
    const auto view = simcam::builtInDescription();
    EXPECT_EQ(unzipped(fetch(bench, urlAt(bench, 0x0200))), Bytes(view.begin(), view.end()));
    EXPECT_EQ(fetch(bench, urlAt(bench, 0x0400)), Bytes(view.begin(), view.end()));
}

TEST(SimcamDescription, AFileEndsWhereTheSettingSays) {
    const struct {
        const char* ending;
        std::uint16_t count;
        int status;
    } rows[] = {
        {"padded", 36, 0}, {"padded", 40, 0}, {"padded", 44, 0x8003}, {"exact", 36, 0}, {"exact", 40, 0x8003},
    };
    for (const auto& row : rows) {
        Bench bench({{"file-end", row.ending}, {"description-text", std::string(35, 'x')}});
        const auto ack = bench.command(0x84, be32(0x48000000) + be16(0) + be16(row.count));
        ASSERT_TRUE(ack);
        EXPECT_EQ(ack->status, row.status) << row.ending << " " << row.count;
    }
}

TEST(SimcamDescription, UrlsAreTheSettings) {
    const struct {
        const char* name;
        const char* setting;
        const char* read;
    } rows[] = {
        {"web address", "Http://example.org/cam.zip", "Http://example.org/cam.zip"},
        {"nonsense", ";;;", ";;;"},
        {"plain text", "{xml}", "Local:simcam.xml;48000000;3"},
        {"lower case", "local:x;48000000;3", "local:x;48000000;3"},
        {"own directory", "File:simcam.xml", "File:simcam.xml"},
    };
    for (const auto& row : rows) {
        Bench bench({{"first-url", row.setting}, {"description-text", "<a>"}});
        EXPECT_EQ(urlAt(bench, 0x0200), row.read) << row.name;
    }
}

} // namespace
