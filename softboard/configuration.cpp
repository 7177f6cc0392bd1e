#include "softboard/configuration.h"

#include "softboard/DataQueue.h"
#include "softboard/design.h"

#include "common/settings_file.h"
#include "protocol/net.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <set>
#include <string_view>
#include <system_error>

namespace softboard {

const char* const kDefaultConfiguration = "[board 0]\n"
                                          "serial = 0x2A07\n"
                                          "[board 0 port 0 camera]\n";

namespace {

constexpr const char* kFileVariable = "LIOMOL_SOFTBOARD";
constexpr const char* kSystemFile = LIOMOL_BOARD_FILE;
constexpr std::int32_t kFirstSerial = 0x2A07; // of board 0; the others follow
constexpr std::chrono::milliseconds kDefaultNegotiation{50};

// The whole text as a number, decimal or with 0x.
bool parseInteger(const std::string& text, long long low, long long high, long long& value) {
    char* end = nullptr;
    errno = 0;
    value = std::strtoll(text.c_str(), &end, 0);
    return !text.empty() && *end == '\0' && errno == 0 && value >= low && value <= high;
}

// The whole text as a decimal number, with a point in every locale.
bool parseDecimal(const std::string& text, double low, double high, double& value) {
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    return error == std::errc() && end == last && value >= low && value <= high; // "nan" compares false
}

bool parseProbability(const std::string& text, double& value) {
    return parseDecimal(text, 0, 1, value);
}

// The address of one station.
bool parseStationMac(const std::string& text, netif::Mac& mac) {
    const auto read = netif::Mac::parse(text);
    mac = read.value_or(netif::Mac{});
    return mac.isStation();
}

bool parseMicroseconds(const std::string& text, std::chrono::microseconds& value) {
    constexpr double kLongestMs = 60000;
    double ms = 0;
    if (!parseDecimal(text, 0, kLongestMs, ms)) {
        return false;
    }
    value = std::chrono::microseconds(std::llround(ms * 1000));
    return true;
}

// What a key of a section wants, and how its text is taken in; false when the text is no such thing.
template<typename Target> struct Key {
    const char* name;
    const char* wants;
    bool (*set)(Target&, const std::string&);
};

constexpr Key<BoardConfiguration> kBoardKeys[] = {
    {"serial", "a number from 0 to 0x7FFFFFFF",
     [](BoardConfiguration& board, const std::string& text) {
         long long value = 0;
         const bool good = parseInteger(text, 0, 0x7FFFFFFF, value);
         board.serial = static_cast<std::int32_t>(value);
         return good;
     }},
    {"firmware", "MAJOR.MINOR, each 0 to 255",
     [](BoardConfiguration& board, const std::string& text) {
         const std::size_t dot = text.find('.');
         long long major = 0;
         long long minor = 0;
         const bool good = dot != text.npos &&
                           parseInteger(text.substr(0, dot), 0, kVersionLimit - 1, major) &&
                           parseInteger(text.substr(dot + 1), 0, kVersionLimit - 1, minor);
         board.firmwareMajor = static_cast<int>(major);
         board.firmwareMinor = static_cast<int>(minor);
         return good;
     }},
    {"caminterface", "a text",
     [](BoardConfiguration& board, const std::string& text) {
         board.camInterface = text;
         return true;
     }},
    {"phy", "up or held",
     [](BoardConfiguration& board, const std::string& text) {
         board.phy = text == "held" ? PhyPowerOn::Held : PhyPowerOn::Up;
         return text == "up" || text == "held";
     }},
    {"negotiation_ms", "a number from 0 to 60000",
     [](BoardConfiguration& board, const std::string& text) {
         long long value = 0;
         const bool good = parseInteger(text, 0, 60000, value);
         board.negotiation = std::chrono::milliseconds(value);
         return good;
     }},
};

constexpr Key<PortConfiguration> kPortKeys[] = {
    {"capture", "a file name",
     [](PortConfiguration& port, const std::string& text) {
         port.capture = text;
         return !text.empty();
     }},
    {"interface", "the name of a network interface",
     [](PortConfiguration& port, const std::string& text) {
         port.interface.interface = text;
         return netif::isInterfaceName(text);
     }},
    {"mac", "the address of one station like 02:00:00:00:00:01",
     [](PortConfiguration& port, const std::string& text) {
         return parseStationMac(text, port.interface.mac.emplace());
     }},
    {"spin_us", "a number from 0 to 10000",
     [](PortConfiguration& port, const std::string& text) {
         long long value = 0;
         const bool good = parseInteger(text, 0, 10000, value);
         port.interface.spin = std::chrono::microseconds(value);
         return good;
     }},
    {"ring_mb", "a number from 1 to 1024",
     [](PortConfiguration& port, const std::string& text) {
         long long value = 0;
         const bool good = parseInteger(text, 1, 1024, value);
         port.interface.ringBytes = static_cast<std::size_t>(value) << 20;
         return good;
     }},
    {"queue_words", "a number from 1024 to 4194304",
     [](PortConfiguration& port, const std::string& text) {
         long long value = 0;
         const bool good = parseInteger(text, 1024, 4194304, value);
         port.queueWords = static_cast<std::size_t>(value);
         return good;
     }},
    {"fault_seed", "a number",
     [](PortConfiguration& port, const std::string& text) {
         long long value = 0;
         const bool good = parseInteger(text, 0, std::numeric_limits<long long>::max(), value);
         port.faults.seed = static_cast<std::uint64_t>(value);
         return good;
     }},
};

constexpr const char* kWantsProbability = "a probability from 0 to 1";
constexpr const char* kWantsTime = "milliseconds from 0 to 60000";

// Behind "fault_" for both directions, "send_fault_" or "receive_fault_" for one.
constexpr Key<Faults> kFaultKeys[] = {
    {"drop", kWantsProbability,
     [](Faults& f, const std::string& text) { return parseProbability(text, f.drop); }},
    {"duplicate", kWantsProbability,
     [](Faults& f, const std::string& text) { return parseProbability(text, f.duplicate); }},
    {"reorder", kWantsProbability,
     [](Faults& f, const std::string& text) { return parseProbability(text, f.reorder); }},
    {"flip", kWantsProbability,
     [](Faults& f, const std::string& text) { return parseProbability(text, f.flip); }},
    {"truncate", kWantsProbability,
     [](Faults& f, const std::string& text) { return parseProbability(text, f.truncate); }},
    {"delay", kWantsProbability,
     [](Faults& f, const std::string& text) { return parseProbability(text, f.delay); }},
    {"delay_min_ms", kWantsTime,
     [](Faults& f, const std::string& text) { return parseMicroseconds(text, f.delayMin); }},
    {"delay_max_ms", kWantsTime,
     [](Faults& f, const std::string& text) { return parseMicroseconds(text, f.delayMax); }},
    {"reorder_hold_ms", kWantsTime,
     [](Faults& f, const std::string& text) { return parseMicroseconds(text, f.reorderHold); }},
};

struct FaultPrefix {
    std::string_view text;
    bool send;
    bool receive;
};
constexpr FaultPrefix kFaultPrefixes[] = {
    {"fault_", true, true}, {"send_fault_", true, false}, {"receive_fault_", false, true}};

template<typename Target, std::size_t n>
const Key<Target>* findKey(const Key<Target> (&keys)[n], std::string_view name) {
    const auto* const found =
        std::find_if(std::begin(keys), std::end(keys), [name](const auto& key) { return name == key.name; });
    return found == std::end(keys) ? nullptr : found;
}

class Parser {
public:
    Parser(const std::string& text, const std::string& name, Configuration& configuration)
        : m_reader(text, name), m_configuration(configuration) {}

    // The first mistake, empty without one.
    std::string parse() {
        for (int board = 0; board < kBoards; ++board) {
            m_configuration[static_cast<std::size_t>(board)] = defaults(board);
        }
        while (m_reader.next()) {
            if (m_reader.isSection()) {
                parseSection();
            } else {
                takeSetting(std::string(m_reader.key()), std::string(m_reader.value()));
            }
        }
        return m_reader.mistake().empty() ? interfaceMistake() : m_reader.mistake();
    }

private:
    static BoardConfiguration defaults(int number) {
        BoardConfiguration board;
        board.serial = kFirstSerial + number;
        board.firmwareMajor = kAppletMajors.back();
        board.firmwareMinor = 0;
        board.camInterface = "GigE";
        board.negotiation = kDefaultNegotiation;
        for (PortConfiguration& port : board.ports) {
            port.queueWords = DataQueue::kDefaultWords;
            port.interface.spin = defaultSpin();
        }
        return board;
    }

    // What single keys do not show.
    std::string interfaceMistake() const {
        std::set<std::pair<std::string, netif::Mac>> taken;
        for (const BoardConfiguration& board : m_configuration) {
            for (const PortConfiguration& port : board.ports) {
                const InterfaceSettings& own = port.interface;
                const char* wrong = nullptr;
                if (own.interface.empty()) {
                    wrong = own.mac ? "\"mac\" is for a port with an \"interface\"" : nullptr;
                } else if (!port.cameras.empty()) {
                    wrong = "a port with an interface has no cameras of this process: they hear only while "
                            "somebody reads; give them a port of their own";
                } else if (!taken.emplace(own.interface, own.mac.value_or(netif::Mac{})).second) {
                    wrong = "another port has this interface: give each a \"mac\" of its own";
                }
                if (wrong != nullptr) {
                    return port.place + ": " + wrong;
                }
            }
        }
        return "";
    }

    bool fail(const std::string& message) {
        m_reader.refuse(message);
        return false;
    }

    bool takeSetting(const std::string& key, const std::string& value) {
        if (m_board == nullptr) {
            return fail("key \"" + key + "\" before the first section");
        }
        if (!m_keys.insert(key).second) {
            return fail("key \"" + key + "\" twice in one section");
        }
        return setKey(key, value);
    }

    // "board B", "board B port P" or "board B port P camera"
    bool parseSection() {
        const std::vector<std::string_view> names = common::words(m_reader.section());
        const std::vector<std::string> words(names.begin(), names.end());
        const std::size_t n = words.size();
        const bool shape = (n == 2 || n == 4 || (n == 5 && words[4] == "camera")) && words[0] == "board" &&
                           (n == 2 || words[2] == "port");
        if (!shape) {
            return fail("a section is [board B], [board B port P] or [board B port P camera]");
        }
        long long board = 0;
        long long port = 0;
        if (!parseInteger(words[1], 0, kBoards - 1, board)) {
            return fail("no board \"" + words[1] + "\": boards are 0 to 7");
        }
        if (n > 2 && !parseInteger(words[3], 0, kPorts - 1, port)) {
            return fail("no port \"" + words[3] + "\": ports are 0 to 3");
        }
        return enter(static_cast<int>(board), n > 2 ? static_cast<int>(port) : -1, n == 5);
    }

    // A port of -1 stands for the board's own section.
    bool enter(int board, int port, bool camera) {
        m_keys.clear();
        m_board = &m_configuration[static_cast<std::size_t>(board)];
        m_board->present = true;
        m_port = nullptr;
        m_camera = nullptr;
        if (port >= 0) {
            m_port = &m_board->ports[static_cast<std::size_t>(port)];
            return camera ? enterCamera(*m_port) : enterOnce(board, port);
        }
        return enterOnce(board, port);
    }

    bool enterCamera(PortConfiguration& port) {
        if (port.cameras.size() >= kMostCameras) {
            return fail("more than " + std::to_string(kMostCameras) + " cameras on one port");
        }
        m_camera = &port.cameras.emplace_back(CameraConfiguration{m_reader.place(), {}});
        return true;
    }

    bool enterOnce(int board, int port) {
        if (m_port != nullptr) {
            m_port->place = m_reader.place();
        }
        return m_sections.insert(board * (kPorts + 1) + port + 1).second ||
               fail("a section of this name came before");
    }

    bool setKey(const std::string& key, const std::string& value) {
        if (m_camera != nullptr) {
            m_camera->settings.emplace(key, value);
            return true;
        }
        if (m_port == nullptr) {
            return apply(findKey(kBoardKeys, key), *m_board, key, value);
        }
        if (const auto* known = findKey(kPortKeys, key)) {
            return apply(known, *m_port, key, value);
        }
        for (const FaultPrefix& prefix : kFaultPrefixes) {
            const auto* known = key.starts_with(prefix.text)
                                    ? findKey(kFaultKeys, std::string_view(key).substr(prefix.text.size()))
                                    : nullptr;
            if (known != nullptr) {
                return (!prefix.send || apply(known, m_port->faults.send, key, value)) &&
                       (!prefix.receive || apply(known, m_port->faults.receive, key, value));
            }
        }
        return fail("unknown key \"" + key + "\"");
    }

    template<typename Target>
    bool apply(const Key<Target>* known, Target& target, const std::string& key, const std::string& value) {
        if (known == nullptr) {
            return fail("unknown key \"" + key + "\"");
        }
        return known->set(target, value) ||
               fail("\"" + key + "\" wants " + known->wants + ", not \"" + value + "\"");
    }

    common::SettingsReader m_reader;
    Configuration& m_configuration;
    BoardConfiguration* m_board = nullptr;
    PortConfiguration* m_port = nullptr;
    CameraConfiguration* m_camera = nullptr;
    std::set<std::string> m_keys; // of the section so far
    std::set<int> m_sections;     // of boards and ports so far
};

} // namespace

bool parseConfiguration(
    const std::string& text, const std::string& name, Configuration& configuration, std::string& error) {
    if (text.size() > kLargestConfiguration) {
        error = name + ": larger than " + std::to_string(kLargestConfiguration) + " bytes";
        return false;
    }
    error = Parser(text, name, configuration).parse();
    return error.empty();
}

bool readConfiguration(std::string& text, std::string& name, std::string& error) {
    const char* const named = std::getenv(kFileVariable);
    name = named != nullptr ? named : kSystemFile;
    const std::error_code failed = common::readTextFile(name, kLargestConfiguration, text);
    if (failed == std::errc::no_such_file_or_directory && named == nullptr) {
        name = "default configuration";
        text = kDefaultConfiguration;
        return true;
    }
    error = failed ? name + ": cannot be read: " + failed.message() : "";
    return !failed;
}

} // namespace softboard
