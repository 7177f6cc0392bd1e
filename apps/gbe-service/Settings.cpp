#include "Settings.h"

#include "bounds.h"

#include "common/settings_file.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <sstream>

namespace gbe_service {
namespace {

using common::trimmed;

bool parseNumber(std::string_view text, unsigned limit, unsigned& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value < limit;
}

// "board 0 port 1"
bool parsePort(std::string_view section, PortKey& port) {
    const std::vector<std::string_view> words = common::words(section);
    return words.size() == 4 && words[0] == "board" && parseNumber(words[1], kBoards, port.first) &&
           words[2] == "port" && parseNumber(words[3], kPorts, port.second);
}

// Takes the sections and settings of a configuration, one at a time; an error text for a wrong one.
class SettingsTaker {
public:
    explicit SettingsTaker(Settings& settings) : m_settings(settings) {}

    std::string take(const common::SettingsReader& line) {
        if (line.isSection()) {
            m_inPort = parsePort(line.section(), m_port);
            return m_inPort ? "" : "not a section: [board 0 port 0] is one";
        }
        return takeKey(std::string(line.key()), std::string(line.value()));
    }

private:
    std::string takeKey(const std::string& key, const std::string& value) {
        if (m_inPort) {
            return key == "mac"  ? takeMac(value)
                   : key == "ip" ? takeIp(value)
                                 : "unknown key of a port: " + key;
        }
        std::string error;
        unsigned seconds = 0;
        if (key == "boards") {
            parseBoards(value, m_settings.boards, error);
        } else if (key == "socket-group") {
            m_settings.socketGroup = value;
        } else if (key == "idle-limit" && parseNumber(value, 24 * 3600, seconds) && seconds > 0) {
            m_settings.idleLimit = std::chrono::seconds(seconds);
        } else {
            error = key == "idle-limit" ? "not a number of seconds: " + value : "unknown key: " + key;
        }
        return error;
    }

    std::string takeMac(const std::string& value) {
        const auto mac = Mac::parse(value);
        if (!mac || !mac->isStation()) {
            return "not the MAC address of a station: " + value;
        }
        for (const auto& [port, other] : m_settings.macs) {
            if (other == *mac && port != m_port) {
                return "this MAC address is another port's: " + value;
            }
        }
        m_settings.macs[m_port] = *mac;
        return "";
    }

    std::string takeIp(const std::string& value) {
        const auto ip = parsePortIp(value);
        if (!ip) {
            return "not an IPv4 address of a station: " + value;
        }
        m_settings.ips[m_port] = *ip;
        return "";
    }

    Settings& m_settings;
    bool m_inPort = false;
    PortKey m_port;
};

bool readFile(const QString& name, std::string& text, std::string& error) {
    const std::error_code failed = common::readTextFile(name.toStdString(), kMaxConfigurationSize, text);
    error = failed ? name.toStdString() + ": " + failed.message() : "";
    return !failed;
}

} // namespace

Mac Settings::mac(unsigned board, unsigned port, const std::optional<Mac>& interface) const {
    const auto found = macs.find({board, port});
    return found != macs.end() ? found->second : interface ? *interface : localMac(board, port);
}

bool readSettings(const QString& file, Settings& settings, std::string& error) {
    std::string text;
    if (!readFile(file, text, error)) {
        return false;
    }
    SettingsTaker taker(settings);
    common::SettingsReader reader(text, file.toStdString());
    while (reader.next()) {
        reader.refuse(taker.take(reader));
    }
    error = reader.mistake();
    return error.empty();
}

bool parseBoards(const std::string& text, std::vector<unsigned>& boards, std::string& error) {
    std::vector<unsigned> result;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) {
        unsigned board = 0;
        if (!parseNumber(trimmed(word), kBoards, board) ||
            std::find(result.begin(), result.end(), board) != result.end()) {
            error = "not a list of boards 0 to 7, each once: " + text;
            return false;
        }
        result.push_back(board);
    }
    if (result.empty()) {
        error = "no board in the list of boards";
        return false;
    }
    std::sort(result.begin(), result.end());
    boards = result;
    return true;
}

std::optional<PortIp> parsePortIp(const std::string& text) {
    constexpr unsigned kMostBits = 30; // two addresses besides the ends
    const std::size_t slash = text.find('/');
    const std::optional<net::Ipv4> ip = net::Ipv4::parse(std::string_view(text).substr(0, slash));
    if (!ip || !ip->isStation()) {
        return std::nullopt;
    }
    const bool linkLocal = (*ip)[0] == 169 && (*ip)[1] == 254;
    unsigned bits = linkLocal ? 16 : 24;
    if (slash != text.npos && (!parseNumber(text.substr(slash + 1), kMostBits + 1, bits) || bits == 0)) {
        return std::nullopt;
    }
    const net::Ipv4 mask = net::Ipv4::maskOf(bits);
    return net::isInsideSubnet(*ip, mask) ? std::optional(PortIp{*ip, mask}) : std::nullopt;
}

bool AddressBook::load(std::string& error) {
    if (!QFileInfo::exists(m_file)) {
        return true;
    }
    std::string text;
    if (!readFile(m_file, text, error)) {
        return false;
    }
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const std::string_view words = trimmed(line);
        if (!words.empty() && words.front() != '#' && !takeLine(words)) {
            error = m_file.toStdString() + ":" + std::to_string(number) + ": not an address of a port";
            return false;
        }
    }
    return true;
}

// "board 0 port 1 ip 10.0.0.1/8"
bool AddressBook::takeLine(std::string_view line) {
    const std::size_t ip = std::min(line.find(" ip "), line.size());
    const std::string address(trimmed(line.substr(std::min(ip + 4, line.size()))));
    PortKey port;
    if (!parsePort(line.substr(0, ip), port) || !parsePortIp(address)) {
        return false;
    }
    m_ips[port] = address;
    return true;
}

bool AddressBook::set(PortKey port, const std::string& ip, std::string& error) {
    auto ips = m_ips;
    ips[port] = ip;
    QByteArray text("# Written by gbe-service: the addresses that clients gave to ports.\n");
    for (const auto& [key, value] : ips) {
        text += "board " + QByteArray::number(key.first) + " port " + QByteArray::number(key.second) +
                " ip " + value.c_str() + "\n";
    }
    QDir().mkpath(QFileInfo(m_file).absolutePath());
    QSaveFile file(m_file);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        error = m_file.toStdString() + ": " + file.errorString().toStdString();
        return false;
    }
    m_ips = ips;
    return true;
}

std::optional<PortIp> AddressBook::ip(PortKey port) const {
    const auto found = m_ips.find(port);
    return found != m_ips.end() ? parsePortIp(found->second) : std::nullopt;
}

} // namespace gbe_service
