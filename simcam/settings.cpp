#include "simcam/settings.h"

#include "protocol/bootstrap.h"
#include "simcam/text.h"

#include <algorithm>
#include <atomic>

namespace simcam {

namespace {

constexpr Mac kFirstMac = 0x025343000001;
constexpr std::uint32_t kLinkLocalNet = 0xA9FE0000; // 169.254.0.0
constexpr std::string_view kLinkLocal = "link-local";

bool text(std::string_view value, std::size_t size, std::string& field, std::string& error) {
    if (value.size() > size) {
        error = "is longer than " + std::to_string(size) + " bytes";
        return false;
    }
    field = value;
    return true;
}

bool address(std::string_view value, std::uint32_t& field, std::string& error) {
    const auto ip = parseIp(value);
    error = ip ? "" : "is not an IPv4 address";
    field = ip.value_or(0);
    return ip.has_value();
}

bool hostAddress(std::string_view value, std::uint32_t& field, std::string& error) {
    if (!address(value, field, error)) {
        return false;
    }
    error = "is not an address for a camera";
    return isHostAddress(field);
}

bool mask(std::string_view value, std::uint32_t& field, std::string& error) {
    if (!address(value, field, error)) {
        return false;
    }
    error = "is not a subnet mask";
    return isSubnetMask(field);
}

template<class Enum>
bool choice(
    std::string_view value, std::string_view first, Enum firstValue, std::string_view second,
    Enum secondValue, Enum& field, std::string& error) {
    field = value == first ? firstValue : secondValue;
    error = "is neither '" + std::string(first) + "' nor '" + std::string(second) + "'";
    return value == first || value == second;
}

bool faultList(std::string_view value, std::vector<Fault>& field, std::string& error) {
    for (const std::string_view piece : split(value, ';')) {
        const auto fault = parseFault(piece, error);
        if (!fault) {
            return false;
        }
        field.push_back(*fault);
    }
    return true;
}

bool time(std::string_view value, milliseconds& field, std::string& error) {
    const auto ms = parseUnsigned(value, static_cast<std::uint64_t>(kMaxLatency.count()));
    error = "is not a number of milliseconds up to " + std::to_string(kMaxLatency.count());
    field = milliseconds(ms.value_or(0));
    return ms.has_value();
}

template<class Value> bool take(std::optional<Value> parsed, Value& field) {
    if (parsed) {
        field = std::move(*parsed);
    }
    return parsed.has_value();
}

using Text = std::string_view;
using Error = std::string&;

struct Row {
    SettingFact fact;
    bool (*read)(Text, CameraSettings&, Error);
};

const Row kRows[] = {
    {{"mac", "MAC address"},
     [](Text value, CameraSettings& s, Error error) {
         const auto mac = parseMac(value);
         error = "is not the MAC address of a station";
         s.mac = mac.value_or(0);
         return mac.has_value();
     }},
    {{"ip", "IPv4 address, used at once; 'link-local': looked for with a conflict probe"},
     [](Text value, CameraSettings& s, Error error) {
         s.linkLocal = value == kLinkLocal;
         return s.linkLocal || hostAddress(value, s.ip.address, error);
     }},
    {{"probe-second", "milliseconds that count as one second of the conflict probe"},
     [](Text value, CameraSettings& s, Error error) { return time(value, s.probeSecond, error); }},
    {{"mask", "subnet mask"},
     [](Text value, CameraSettings& s, Error error) { return mask(value, s.ip.mask, error); }},
    {{"gateway", "default gateway"},
     [](Text value, CameraSettings& s, Error error) { return address(value, s.ip.gateway, error); }},
    {{"name", "user-defined name, up to 16 bytes"},
     [](Text value, CameraSettings& s, Error error) {
         return text(value, bootstrap::kUserDefinedNameSize, s.name, error);
     }},
    {{"serial", "serial number, up to 16 bytes"},
     [](Text value, CameraSettings& s, Error error) {
         return text(value, bootstrap::kSerialNumberSize, s.serial, error);
     }},
    {{"model", "model name, up to 32 bytes"},
     [](Text value, CameraSettings& s, Error error) {
         return text(value, bootstrap::kNameSize, s.model, error);
     }},
    {{"vendor", "manufacturer name, up to 32 bytes"},
     [](Text value, CameraSettings& s, Error error) {
         return text(value, bootstrap::kNameSize, s.vendor, error);
     }},
    {{"version", "device version, up to 32 bytes"},
     [](Text value, CameraSettings& s, Error error) {
         return text(value, bootstrap::kNameSize, s.version, error);
     }},
    {{"info", "manufacturer information, up to 48 bytes"},
     [](Text value, CameraSettings& s, Error error) {
         return text(value, bootstrap::kManufacturerInfoSize, s.info, error);
     }},
    {{"first-url", "First URL; {zip} and {xml} stand for the places of the description"},
     [](Text value, CameraSettings& s, Error error) {
         return text(value, bootstrap::kUrlSize, s.firstUrl, error);
     }},
    {{"second-url", "Second URL, likewise"},
     [](Text value, CameraSettings& s, Error error) {
         return text(value, bootstrap::kUrlSize, s.secondUrl, error);
     }},
    {{"description", "file with a description of one's own, XML or zip"},
     [](Text value, CameraSettings& s, Error error) {
         error = "is empty";
         s.descriptionFile = value;
         return !value.empty();
     }},
    {{"description-text", "the text of a description of one's own"},
     [](Text value, CameraSettings& s, Error error) {
         error = "is empty";
         s.descriptionText = value;
         return !value.empty();
     }},
    {{"registers", "'model': the camera's own; 'plain': memory without behaviour"},
     [](Text value, CameraSettings& s, Error error) {
         return choice(value, "model", false, "plain", true, s.plainMemory, error);
     }},
    {{"concatenation", "whether one command may read or write several registers: 'on' or 'off'"},
     [](Text value, CameraSettings& s, Error error) {
         return choice(value, "on", true, "off", false, s.concatenates, error);
     }},
    {{"file-end", "'padded' to 8 bytes or 'exact'"},
     [](Text value, CameraSettings& s, Error error) {
         return choice(value, "padded", FileEnd::Padded, "exact", FileEnd::Exact, s.fileEnd, error);
     }},
    {{"latency", "milliseconds before each answer"},
     [](Text value, CameraSettings& s, Error error) { return time(value, s.latency, error); }},
    {{"faults", "faults from the start, separated by ';', such as 'delay=500 x3 readreg'"},
     [](Text value, CameraSettings& s, Error error) { return faultList(value, s.faults, error); }},
    {{"link-faults", "probabilities of faults of the wire, such as 'drop=0.05 out-delay=0.1 seed=7'"},
     [](Text value, CameraSettings& s, Error error) {
         return take(parseLinkFaults(value, error), s.linkFaults);
     }},
    {{"slow-write", "milliseconds that writes take, such as '2000 UserSetSave;50'"},
     [](Text value, CameraSettings& s, Error error) {
         return take(parseSlowWrites(value, error), s.slowWrites);
     }},
    {{"pending-ack", "whether slow writes are announced: 'always', 'asked' or 'never'"},
     [](Text value, CameraSettings& s, Error error) {
         s.pendingAcks = value == "never"   ? PendingAcks::Never
                         : value == "asked" ? PendingAcks::WhenAsked
                                            : PendingAcks::Always;
         error = "is neither 'always' nor 'asked' nor 'never'";
         return value == "always" || value == "asked" || value == "never";
     }},
    {{"set", "registers from the start, such as 'Width=640;0xA114=800'"},
     [](Text value, CameraSettings& s, Error error) {
         return take(parseContents(value, error), s.contents);
     }},
    {{"images",
      "folder with pictures that the camera shows in turns: binary PGM and PPM, in gbe-simcam also PNG"},
     [](Text value, CameraSettings& s, Error error) {
         s.images = PictureFolder::open(std::string(value), error);
         return s.images != nullptr;
     }},
    {{"state", "file that keeps what the camera keeps without power"},
     [](Text value, CameraSettings& s, Error error) {
         error = "is empty";
         s.stateFile = value;
         return !value.empty();
     }},
};

std::vector<SettingFact> facts() {
    std::vector<SettingFact> all;
    std::ranges::transform(kRows, std::back_inserter(all), &Row::fact);
    return all;
}

Mac nextMac() {
    static std::atomic<Mac> next{kFirstMac};
    return next++;
}

// 169.254.x.y from the MAC, y from 100 to 199: away from the ends of the range, which the standard reserves.
std::uint32_t fixedIp(Mac mac) {
    const auto third = static_cast<std::uint32_t>((mac >> 8) % 254 + 1);
    const auto fourth = static_cast<std::uint32_t>(mac % 100 + 100);
    return kLinkLocalNet | third << 8 | fourth;
}

void fillIn(CameraSettings& settings) {
    settings.mac = settings.mac == 0 ? nextMac() : settings.mac;
    if (settings.linkLocal) {
        settings.ip = {};
    } else if (settings.ip.address == 0) {
        settings.ip.address = fixedIp(settings.mac);
    }
    if (settings.ip.address != 0 && settings.ip.mask == 0) {
        settings.ip.mask = kLinkLocalMask;
    }
    if (settings.serial.empty()) {
        settings.serial = macText(settings.mac);
        std::erase(settings.serial, ':');
    }
}

} // namespace

const std::vector<SettingFact> kSettingFacts = facts();

std::optional<CameraSettings> parseSettings(const ethernet::Settings& settings, std::string& error) {
    CameraSettings parsed;
    for (const auto& setting : settings) {
        const std::string& key = setting.first;
        const std::string& value = setting.second;
        const auto row = std::ranges::find_if(kRows, [&](const Row& r) { return r.fact.key == key; });
        if (row == std::end(kRows)) {
            error = "camera: unknown setting '" + key + "'";
            return std::nullopt;
        }
        std::string reason;
        if (!row->read(value, parsed, reason)) {
            error = "camera: " + key;
            error += " '" + value.substr(0, 64) + "' " + reason;
            return std::nullopt;
        }
    }
    fillIn(parsed);
    return parsed;
}

} // namespace simcam
