// gbe ip: the IP addresses of ports and cameras.
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/Json.h"
#include "gbe/Table.h"
#include "gbe/options.h"
#include "gbe/service.h"

#include <QtCore/QJsonArray>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>

namespace gbe {
namespace {

constexpr const char* kAutomatic = "auto";

struct NewAddress {
    std::string camera; // a MAC address, an IP address or a user-defined name
    std::string ip;     // or "auto": the camera configures itself
    std::string mask;   // empty: the port's
    std::string gateway;
};

struct Target {
    unsigned port = 0;
    Mac mac;
    Ipv4 ip; // none: not found by a scan
};

Ipv4 parse(const char* what, const std::string& text, const std::optional<Ipv4>& address) {
    if (!address) {
        throw Failure("\"" + text + "\" is not " + what, ExitStatus::Usage);
    }
    return *address;
}

bool isNamed(const FoundCamera& camera, const std::string& text) {
    if (const auto mac = Mac::parse(text)) {
        return *mac == Mac::at(camera.info.mac);
    }
    if (const auto ip = Ipv4::parse(text)) {
        return camera.ip == *ip;
    }
    return fieldText(camera.info.userDefinedName) == text;
}

// The camera that the text names. One that no scan finds can be named by its MAC address and its port.
Target targetOf(const std::string& text, const Selection& selection, const std::vector<FoundCamera>& found) {
    const auto named = [&](const FoundCamera& camera) { return isNamed(camera, text); };
    const auto count = std::count_if(found.begin(), found.end(), named);
    if (count > 1) {
        throw Failure(std::to_string(count) + " cameras are \"" + text + "\": name one by its MAC address");
    }
    const auto mac = Mac::parse(text);
    if (count == 0 && mac && selection.port) {
        return {*selection.port, *mac, {}};
    }
    if (count == 0) {
        const std::string why =
            found.empty() ? "no camera has answered the scan"
                          : "no camera found has that " + std::string(mac ? "" : "name or ") + "address";
        throw Failure(
            "camera \"" + text + "\"",
            found.empty() ? GBE_ERROR_NO_CAMERAS_FOUND : GBE_ERROR_CAMERA_DOES_NOT_EXIST,
            why + (mac ? "; with --port it need not answer" : ""));
    }
    const FoundCamera& camera = *std::find_if(found.begin(), found.end(), named);
    return {camera.port, Mac::at(camera.info.mac), camera.ip};
}

bool isTarget(const FoundCamera& camera, const Target& target) {
    return target.mac == Mac::at(camera.info.mac);
}

// Two stations with one address would both become hard to reach.
void checkFree(
    const Ipv4& ip, const Target& target, const PortAddress& port, const std::vector<FoundCamera>& found) {
    if (ip == port.ip) {
        throw Failure(ip.text() + ": is the address of port " + std::to_string(target.port) + " itself");
    }
    for (const FoundCamera& camera : found) {
        if (camera.port == target.port && camera.ip == ip && !isTarget(camera, target)) {
            throw Failure(ip.text() + ": is the address of " + Mac::at(camera.info.mac).text());
        }
    }
}

void tellAddress(const std::string& mac, const std::string& before, const std::string& ip) {
    print(QJsonDocument(QJsonObject{
        {"mac", QString::fromStdString(mac)},
        {"before", QString::fromStdString(before)},
        {"ip", QString::fromStdString(ip)}}));
}

// What a scan says after the address was given.
void tellOutcome(BoardHandle* board, const Target& target, const Ipv4& ip, int code, bool json) {
    Selection place;
    place.port = target.port;
    const std::string mac = target.mac.text();
    for (const FoundCamera& camera : findCameras(board, place)) {
        if (!isTarget(camera, target)) {
            continue;
        }
        if (camera.ip != ip) {
            throw Failure(mac + ": still has " + camera.ip.text());
        }
        const std::string before = !target.ip.isNone() ? target.ip.text() : "unknown";
        if (json) {
            tellAddress(mac, before, ip.text());
            return;
        }
        std::printf(
            "%s: %s -> %s\n", mac.c_str(), before.c_str(),
            addressText(ip, portAddress(board, target.port)).c_str());
        std::printf("It keeps the address until it is switched off or reset.\n");
        return;
    }
    throw Failure(mac + ": does not answer", code < 0 ? code : GBE_ERROR_CAMERA_DOES_NOT_EXIST, {});
}

QJsonObject addressesOf(const FoundCamera& camera, const PortAddress& port) {
    return {
        {"mac", QString::fromStdString(Mac::at(camera.info.mac).text())},
        {"ip", QString::fromStdString(camera.ip.text())},
        {"otherSubnet", !port.reaches(camera.ip)},
        {"userName", QString::fromStdString(fieldText(camera.info.userDefinedName))},
    };
}

// Ports, the cameras behind them, and their addresses.
void showAddresses(const Selection& selection, bool json) {
    const Board board = openBoard(selection.board);
    const std::vector<FoundCamera> found = findCameras(board.get(), selection);
    Table table({"PORT", "PORT MAC", "PORT IP", "CAMERA MAC", "CAMERA IP", "NAME"});
    QJsonArray array;
    for (unsigned port = 0; port < GBE_PORTS; ++port) {
        if (selection.port && *selection.port != port) {
            continue;
        }
        const PortAddress at = portAddress(board.get(), port);
        std::vector<std::string> row{std::to_string(port), at.mac.text(), at.text()};
        QJsonArray cameras;
        for (const FoundCamera& camera : found) {
            if (camera.port == port) {
                cameras.append(addressesOf(camera, at));
                row.insert(
                    row.end(), {Mac::at(camera.info.mac).text(), addressText(camera.ip, at),
                                fieldText(camera.info.userDefinedName)});
                table.add(std::exchange(row, {"", "", ""}));
            }
        }
        if (!row.front().empty()) {
            table.add(row);
        }
        array.append(QJsonObject{
            {"board", selection.board},
            {"port", static_cast<int>(port)},
            {"mac", QString::fromStdString(at.mac.text())},
            {"address", QString::fromStdString(at.text())},
            {"cameras", cameras}});
    }
    json ? print(QJsonDocument(array)) : table.print();
}

// Gives a camera an IP address by its MAC address, and scans again to see that it has it.
void setAddress(const Selection& selection, const NewAddress& wanted, bool json) {
    const bool automatic = wanted.ip == kAutomatic;
    const Ipv4 ip = automatic ? Ipv4{} : parse("an IPv4 address", wanted.ip, Ipv4::parse(wanted.ip));
    const Ipv4 gateway = wanted.gateway.empty()
                             ? Ipv4{}
                             : parse("an IPv4 address", wanted.gateway, Ipv4::parse(wanted.gateway));
    const Board board = openBoard(selection.board);
    const std::vector<FoundCamera> found = findCameras(board.get(), selection);
    const Target target = targetOf(wanted.camera, selection, found);
    const PortAddress port = portAddress(board.get(), target.port);
    const Ipv4 mask =
        wanted.mask.empty() ? port.mask : parse("a subnet mask", wanted.mask, parseMask(wanted.mask));
    checkFree(ip, target, port, found);
    const std::string mac = target.mac.text();
    const int code = Gbe_forceCameraIp(
        board.get(), target.port, target.mac.data(), ip.lowFirst(), mask.lowFirst(), gateway.lowFirst());
    if (code != GBE_ERROR_CONNECTION) { // then the next scan tells
        check(mac + ": " + ip.text() + " with mask " + mask.text(), code);
    }
    if (automatic && json) {
        tellAddress(mac, !target.ip.isNone() ? target.ip.text() : "unknown", kAutomatic);
        return;
    }
    if (automatic) {
        std::printf(
            "%s: looks for an address itself; gbe scan shows its address in some seconds\n", mac.c_str());
        return;
    }
    tellOutcome(board.get(), target, ip, code, json);
}

Run defineShow(CLI::App& command, Context& context) {
    addJson(command, context);
    return [&context] {
        showAddresses(context.selection, context.json);
        return ExitStatus::Success;
    };
}

Run defineSet(CLI::App& command, Context& context) {
    const auto address = std::make_shared<NewAddress>();
    command.add_option("CAMERA", address->camera, "Its MAC address, IP address or name")->required();
    command.add_option("IP", address->ip, "Its new address; \"auto\" lets it look for one itself")
        ->required();
    command.add_option("--mask", address->mask, "Subnet mask, 255.255.0.0 or 16 (default: the port's)")
        ->type_name("MASK");
    command.add_option("--gateway", address->gateway, "Default gateway (default: none)")->type_name("IP");
    addJson(command, context);
    return [=, &context] {
        setAddress(context.selection, *address, context.json);
        return ExitStatus::Success;
    };
}

void tellPortAddress(const std::string& port, const std::string& address, bool json) {
    if (json) {
        print(QJsonDocument(QJsonObject{
            {"board", QString::fromStdString(port.substr(0, port.find(':'))).toInt()},
            {"port", QString::fromStdString(port.substr(port.find(':') + 1)).toInt()},
            {"address", QString::fromStdString(address)}}));
        return;
    }
    std::printf("port %s: %s, for boards that are opened from now on\n", port.c_str(), address.c_str());
}

Run definePort(CLI::App& command, Context& context) {
    const auto port = std::make_shared<std::string>();
    const auto address = std::make_shared<std::string>();
    command.add_option("PORT", *port, "BOARD:PORT, as in 0:1")->required();
    command.add_option("IP", *address, "Its address and the length of its mask, 192.168.0.250/24")
        ->required();
    addJson(command, context);
    return [=, &context] {
        setPortAddress(*port, *address);
        tellPortAddress(*port, *address, context.json);
        return ExitStatus::Success;
    };
}

constexpr Example kShowExamples[] = {
    {"gbe ip show", "each port, its address, and the cameras behind it with theirs"},
};

constexpr Example kSetExamples[] = {
    {"gbe ip set 02:53:43:00:00:01 169.254.7.100", "by the MAC address that a scan shows"},
};

constexpr Example kPortExamples[] = {
    {"gbe ip port 0:1 192.168.0.250/24", "port 1 of board 0, in a network of its own"},
};

} // namespace

extern const Verb kIpShowVerb{
    "ip show", Group::Addresses, "Lists the addresses of ports and cameras", &defineShow, kShowExamples};

extern const Verb kIpSetVerb{
    "ip set",   Group::Addresses, "Gives a camera an address, in whatever subnet it is now",
    &defineSet, kSetExamples,     "The camera keeps the address until it is switched off or reset."};

extern const Verb kIpPortVerb{
    "ip port",   Group::Addresses, "Has the service give a port an address and keep it",
    &definePort, kPortExamples,    "Boards that are opened from then on use it."};

} // namespace gbe
