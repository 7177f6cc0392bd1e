// Descriptions made at random, and the camera behind them, which changes by itself what its description says.
#pragma once

#include "genicam/device_fixture.h"

#include <array>
#include <random>
#include <set>
#include <span>

namespace test_support {

// Where a register lies: moving ones at the place that two bits of the memory choose.
struct Extent {
    std::string name;
    int address = 0;
    int length = 0;
    int indexByte = -1; // whose lowest bits count in strides of 4
    std::vector<std::size_t> invalidators;
};

// Camera memory. A write also changes the registers that name a register whose bytes changed, and so on.
class ChangingCamera : public tavo::GenICamPortInterface, public tavo::GenICamBatchReadInterface {
public:
    using Places = std::set<std::pair<long long, long long>>;

    static constexpr int kSize = 64;
    enum class Failure { None, Reads, WritesBefore, WritesAfter };

    void read(unsigned char* buffer, long long address, long long length) override {
        ++reads;
        placesRead.emplace(address, length);
        if (failure == Failure::Reads || address < 0 || address + length > kSize) {
            std::fill_n(buffer, length, static_cast<unsigned char>(0xEE));
            throw tavo::GicTransportLayerException();
        }
        std::copy_n(memory.begin() + address, length, buffer);
    }

    void write(unsigned char* buffer, long long address, long long length) override {
        if (failure == Failure::WritesBefore || address < 0 || address + length > kSize) {
            throw tavo::GicTransportLayerException();
        }
        std::copy_n(buffer, length, memory.begin() + address);
        changeOthers(static_cast<int>(address), static_cast<int>(length));
        if (failure == Failure::WritesAfter) {
            throw tavo::GicTransportLayerException();
        }
    }

    // Leaves out every so many places.
    bool readMany(Place* places, unsigned count) override {
        for (Place& place : std::span(places, count)) {
            if (leavesOut == 0 || ++m_turn % leavesOut != 0) {
                read(place.buffer, place.address, place.length);
                place.isRead = true;
            }
        }
        return true;
    }

    void setConnection(int, int, unsigned) override {}

    std::array<unsigned char, kSize> memory{};
    std::vector<Extent> extents;
    std::atomic<Failure> failure = Failure::None;
    std::atomic<int> reads = 0;
    Places placesRead;
    int leavesOut = 0;

private:
    int m_turn = 0;

    int addressOf(const Extent& extent) const {
        return extent.address +
               (extent.indexByte < 0 ? 0 : 4 * (memory[static_cast<std::size_t>(extent.indexByte)] & 3));
    }

    void changeOthers(int address, int length) {
        std::vector<bool> touched(kSize);
        std::fill_n(touched.begin() + address, length, true);
        std::vector<bool> done(extents.size());
        for (bool more = true; more;) {
            more = false;
            for (std::size_t i = 0; i < extents.size(); ++i) {
                const auto& named = extents[i].invalidators;
                const bool hit = !done[i] && std::ranges::any_of(named, [&](std::size_t source) {
                    const auto begin = touched.begin() + addressOf(extents[source]);
                    return std::find(begin, begin + extents[source].length, true) !=
                           begin + extents[source].length;
                });
                if (hit) {
                    const int begin = addressOf(extents[i]);
                    for (int byte = begin; byte < begin + extents[i].length; ++byte) {
                        auto& content = memory[static_cast<std::size_t>(byte)];
                        content = static_cast<unsigned char>(content * 5 + 3);
                        touched[static_cast<std::size_t>(byte)] = true;
                    }
                    done[i] = more = true;
                }
            }
        }
    }
};

class RandomDescription {
public:
    // Registers that move unseen, over an index that nobody caches, are told of by the standard alone.
    RandomDescription(unsigned long long seed, bool standard, bool unseenMoves)
        : m_random(seed), m_standard(standard) {
        addIndexes(unseenMoves);
        addRegisters();
        addMoving();
        for (int i = 0; i < 10; ++i) {
            addFeature();
        }
        addVolatile();
        nameInvalidators();
        text = inRoot(text + "<Integer Name='Sentinel'/>");
    }

    // The same without any cache.
    std::string uncached() const {
        return replaced(replaced(text, "WriteThrough", "NoCache"), "WriteAround", "NoCache");
    }
    void cacheAll() { text = replaced(text, "NoCache", "WriteThrough"); }

    int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }
    bool chance(int percent) { return pick(100) < percent; }
    const std::string& any(const std::vector<std::string>& names) {
        return names[static_cast<std::size_t>(pick(static_cast<int>(names.size())))];
    }

    static constexpr int kVolatileBegin = 48;

    std::string text;
    std::vector<Extent> extents;
    std::vector<std::string> nodes; // all that can be read or written

private:
    using Elements = std::string;

    static std::string replaced(std::string all, const std::string& mode, const std::string& other) {
        for (std::size_t at = 0; (at = all.find(mode, at)) != std::string::npos;) {
            all.replace(at, mode.size(), other);
        }
        return all;
    }

    // Elements of a register; the place for its invalidators is filled in at the end.
    Elements common(const std::string& name) {
        const char* const modes[] = {"WriteThrough", "WriteThrough", "WriteAround", "NoCache"};
        return caching(modes[pick(4)], 0) + "<Endianess>" + (chance(50) ? "Little" : "Big") +
               "Endian</Endianess>" + (chance(50) ? "<Sign>Unsigned</Sign>" : "") + "{" + name + "}";
    }

    void enter(const std::string& name, int address, int length, int indexByte = -1) {
        extents.push_back({name, address, length, indexByte, {}});
        nodes.push_back(name);
    }

    void addIndexes(bool uncached) {
        for (int i = 0; i < 2; ++i) {
            const std::string name = "Index" + std::to_string(i);
            m_indexBytes[i] = pick(16);
            text +=
                reg(name, m_indexBytes[i], 1,
                    "<LSB>0</LSB><MSB>1</MSB><Endianess>LittleEndian</Endianess>" +
                        caching(
                            chance(60)               ? "WriteThrough"
                            : uncached && chance(50) ? "NoCache"
                                                     : "WriteAround",
                            0) +
                        "{" + name + "}",
                    "MaskedIntReg");
            enter(name, m_indexBytes[i], 1);
            text += "<Integer Name='Selector" + std::to_string(i) + "'><pValue>" + name +
                    "</pValue><pSelected>Moving" + std::to_string(i) + "</pSelected></Integer>";
            nodes.push_back("Selector" + std::to_string(i));
        }
    }

    void addRegisters() {
        const int count = 4 + pick(5);
        for (int i = 0; i < count; ++i) {
            const std::string name = "R" + std::to_string(i);
            const int length = 1 << pick(3);
            const int address = chance(70) ? pick(17 - length) : 32 + pick(17 - length);
            const int kind = pick(5);
            if (kind < 2) {
                text += reg(name, address, length, common(name));
            } else if (kind == 2) {
                const int low = pick(length * 8);
                const int high = low + pick(length * 8 - low);
                text += "<StructReg><Address>" + std::to_string(address) + "</Address><Length>" +
                        std::to_string(length) + "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" +
                        caching(chance(70) ? "WriteThrough" : "NoCache", 0) +
                        "<Endianess>LittleEndian</Endianess><StructEntry Name='" + name + "'><LSB>" +
                        std::to_string(low) + "</LSB><MSB>" + std::to_string(high) + "</MSB>{" + name +
                        "}</StructEntry><StructEntry Name='" + name + "Bit'><Bit>" +
                        std::to_string(pick(length * 8)) + "</Bit></StructEntry></StructReg>";
                enter(name + "Bit", address, length);
            } else if (kind == 3) {
                text += reg(name, address, length, common(name), "StringReg");
            } else {
                const int start = std::min(address, address < 16 ? 12 : 44); // it may grow to 4 bytes
                text += reg(name, start, 1, "<pLength>Index1</pLength>" + common(name), "Register");
                enter(name, start, 4);
                extents.back().name.clear(); // its length moves: it has no part in invalidations
                continue;
            }
            enter(name, address, length);
            if (kind != 3) {
                m_numbers.push_back(name);
            }
        }
        m_numbers.push_back("Index0");
    }

    // One alone in its room, and two over registers that do not move.
    void addMoving() {
        const struct {
            const char* name;
            int address, index;
        } rows[] = {{"Moving0", 16, 0}, {"Moving1", 32, 1}, {"Moving2", 32, 0}};
        for (const auto& [name, address, index] : rows) {
            text +=
                reg(name, address, 2,
                    "<pIndex Offset='4'>Index" + std::to_string(index) + "</pIndex>" + common(name));
            enter(name, address, 2, m_indexBytes[index]);
            if (address != 16) {
                extents.back().name.clear();
            }
            m_numbers.push_back(name);
        }
    }

    std::string limits() {
        const std::pair<const char*, int> rows[] = {
            {"pMax", 30},
            {"pMin", 20},
            {"pIsAvailable", 15},
            {"pIsLocked", 15},
            {"pValueCopy", m_standard ? 20 : 0}};
        std::string all;
        for (const auto& [element, percent] : rows) {
            all += chance(percent) ? std::string("<") + element + ">" + any(m_numbers) + "</" + element + ">"
                                   : "";
        }
        return all;
    }

    // What stands for a letter behind a '$' in the texts below.
    std::string filling(char letter) {
        const char* const formulas[] = {"A+B*3", "(A>B)?A:B", "A&amp;B"};
        switch (letter) {
        case 'v':
            return "<pValue>" + any(m_numbers) + "</pValue>";
        case 'l':
            return limits();
        case 'c':
            return std::to_string(pick(4));
        case 'f':
            return std::string("<Formula>") + formulas[pick(3)] + "</Formula>";
        default: // a variable of that name
            return std::string("<pVariable Name='") + letter + "'>" + any(m_numbers) + "</pVariable>";
        }
    }

    void addFeature() {
        const struct {
            const char* kind;
            const char* inner;
            bool isNumber = true; // for other formulas, limits and features to stand on
        } rows[] = {
            {"Integer", "$v$l"},
            {"Integer", "$v$l"},
            {"Integer", "$v$l"},
            {"Integer", "<Value>$c</Value>$l"},
            {"IntSwissKnife", "$A$B$f"},
            {"IntConverter", "$A$v<FormulaTo>FROM-A</FormulaTo><FormulaFrom>TO+A</FormulaFrom>"},
            {"Converter", "$A$v<FormulaTo>FROM+A</FormulaTo><FormulaFrom>TO-A</FormulaFrom>", false},
            {"Enumeration",
             "<EnumEntry Name='Zero'><Value>0</Value></EnumEntry><EnumEntry Name='One'><Value>1</Value></EnumEntry>$v",
             false},
            {"Command", "$v<CommandValue>$c</CommandValue>$l", false},
        };
        const auto& row = rows[pick(static_cast<int>(std::size(rows)))];
        std::string inner = row.inner;
        for (std::size_t at = 0; (at = inner.find('$')) != std::string::npos;) {
            inner.replace(at, 2, filling(inner[at + 1]));
        }
        const std::string name = "F" + std::to_string(m_features++);
        text += std::string("<") + row.kind + " Name='" + name + "'>" + inner + "</" + row.kind + ">";
        nodes.push_back(name);
        if (row.isNumber) {
            m_numbers.push_back(name);
        }
    }

    // Bytes that change by themselves.
    void addVolatile() {
        for (int i = 0; i < 2; ++i) {
            const std::string name = "Volatile" + std::to_string(i);
            text += reg(name, kVolatileBegin + 4 * i, 4, caching("NoCache", 0));
            text += "<Integer Name='Over" + name + "'><pValue>" + name + "</pValue></Integer>";
            nodes.insert(nodes.end(), {name, "Over" + name});
        }
    }

    void nameInvalidators() {
        for (Extent& extent : extents) {
            std::string names;
            while (!extent.name.empty() && chance(40)) {
                const auto source = static_cast<std::size_t>(pick(static_cast<int>(extents.size())));
                if (!extents[source].name.empty()) {
                    extent.invalidators.push_back(source);
                    names += "<pInvalidator>" + extents[source].name + "</pInvalidator>";
                }
            }
            const std::string place = "{" + extent.name + "}";
            if (const auto at = text.find(place); at != std::string::npos && !extent.name.empty()) {
                text.replace(at, place.size(), names);
            } else {
                extent.invalidators.clear();
            }
        }
        for (std::size_t at = 0; (at = text.find('{')) != std::string::npos;) {
            text.erase(at, text.find('}', at) + 1 - at);
        }
    }

    std::mt19937_64 m_random;
    const bool m_standard;
    std::array<int, 2> m_indexBytes{};
    std::vector<std::string> m_numbers; // that formulas, limits and features may stand on
    int m_features = 0;
};

} // namespace test_support
