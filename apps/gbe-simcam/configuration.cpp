#include "configuration.h"

#include "bounds.h"

#include "common/settings_file.h"
#include "simcam/text.h"

#include <set>

namespace gbe_simcam {

namespace {

constexpr simcam::Mac kMacPrefix = 0x025300000000; // locally administered; "S"

// An error text unless the key is new.
std::string addSetting(std::string_view key, std::string_view value, ethernet::Settings& settings) {
    const bool isNew = settings.emplace(key, value).second;
    return isNew ? "" : "'" + std::string(key) + "' is given twice";
}

bool takeSetting(const std::string& text, ethernet::Settings& settings, std::string& error) {
    std::string_view key;
    std::string_view value;
    error = common::splitSetting(text, key, value) ? addSetting(key, value, settings)
                                                   : "'" + text.substr(0, 64) + "' is not KEY=VALUE";
    return error.empty();
}

std::string
take(const common::SettingsReader& line, std::vector<ethernet::Settings>& cameras, bool& inSection) {
    if (line.isSection()) {
        inSection = line.section() == "camera";
        cameras.resize(cameras.size() + (inSection ? 1 : 0));
        return !inSection                      ? "not a section: [camera] is one"
               : cameras.size() > kMostCameras ? "more than " + std::to_string(kMostCameras) + " cameras"
                                               : "";
    }
    return inSection ? addSetting(line.key(), line.value(), cameras.back())
                     : "a setting before the first [camera]";
}

// FNV-1a: the same addresses each time on one interface, others on another.
std::uint32_t hashOf(const std::string& text) {
    std::uint32_t hash = 2166136261;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619;
    }
    return hash;
}

} // namespace

bool parseCamera(const std::string& text, ethernet::Settings& settings, std::string& error) {
    std::string piece;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        const bool comma = i < text.size() && text[i] == '\\' && i + 1 < text.size() && text[i + 1] == ',';
        if (comma) {
            piece += text[++i];
        } else if (i < text.size() && text[i] != ',') {
            piece += text[i];
        } else if (!common::trimmed(piece).empty() && !takeSetting(piece, settings, error)) {
            return false;
        } else {
            piece.clear();
        }
    }
    return true;
}

bool readCameras(const std::string& file, std::vector<ethernet::Settings>& cameras, std::string& error) {
    std::string text;
    if (const std::error_code failed = common::readTextFile(file, kMaxConfiguration, text)) {
        error = file + ": " + failed.message();
        return false;
    }
    common::SettingsReader reader(text, file);
    bool inSection = false;
    while (reader.next()) {
        reader.refuse(take(reader, cameras, inSection));
    }
    error = reader.mistake();
    return error.empty();
}

bool complete(std::vector<ethernet::Settings>& cameras, const std::string& seed, std::string& error) {
    if (cameras.size() > kMostCameras) {
        error = "more than " + std::to_string(kMostCameras) + " cameras";
        return false;
    }
    const simcam::Mac first = kMacPrefix | simcam::Mac{hashOf(seed) & 0xFFFFFF} << 8;
    std::set<simcam::Mac> macs;
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        ethernet::Settings& camera = cameras[i];
        camera.insert({"mac", simcam::macText(first + i + 1)});
        camera.insert({"ip", "link-local"});
        if (camera.contains("description") || camera.contains("description-text")) {
            camera.insert({"registers", "plain"});
        }
        const auto mac = simcam::parseMac(camera["mac"]); // what is none is the camera's to complain about
        if (mac && !macs.insert(*mac).second) {
            error = "two cameras have the MAC address " + camera["mac"];
            return false;
        }
    }
    return true;
}

} // namespace gbe_simcam
