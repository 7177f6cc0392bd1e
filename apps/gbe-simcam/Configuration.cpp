#include "Configuration.h"

#include "bounds.h"

#include "simcam/text.h"

#include <fstream>
#include <set>

namespace gbe_simcam {

namespace {

constexpr simcam::Mac kMacPrefix = 0x025300000000; // locally administered; "S"

std::string trimmed(const std::string& text) {
    constexpr const char* kBlank = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlank);
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

bool takeSetting(const std::string& text, ethernet::Settings& settings, std::string& error) {
    const std::size_t equals = text.find('=');
    if (equals == text.npos) {
        error = "'" + text.substr(0, 64) + "' is not KEY=VALUE";
        return false;
    }
    const std::string key = trimmed(text.substr(0, equals));
    if (!settings.insert({key, trimmed(text.substr(equals + 1))}).second) {
        error = "'" + key + "' is given twice";
        return false;
    }
    return true;
}

std::string takeLine(const std::string& line, std::vector<ethernet::Settings>& cameras, bool& inSection) {
    std::string error;
    if (line.empty() || line.front() == '#' || line.front() == ';') {
        return error;
    }
    if (line.front() == '[') {
        inSection = line == "[camera]";
        cameras.resize(cameras.size() + (inSection ? 1 : 0));
        return inSection ? "" : "not a section: [camera] is one";
    }
    if (!inSection) {
        return "a setting before the first [camera]";
    }
    takeSetting(line, cameras.back(), error);
    return error;
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
        } else if (!trimmed(piece).empty() && !takeSetting(piece, settings, error)) {
            return false;
        } else {
            piece.clear();
        }
    }
    return true;
}

bool readCameras(const std::string& file, std::vector<ethernet::Settings>& cameras, std::string& error) {
    std::ifstream stream(file);
    if (!stream) {
        error = file + ": cannot be read";
        return false;
    }
    std::size_t read = 0;
    bool inSection = false;
    int number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        read += line.size() + 1;
        const std::string wrong = read > kMaxConfiguration || cameras.size() > kMostCameras
                                      ? "too large"
                                      : takeLine(trimmed(line), cameras, inSection);
        if (!wrong.empty()) {
            error = file + ":" + std::to_string(number) + ": " + wrong;
            return false;
        }
    }
    return true;
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
