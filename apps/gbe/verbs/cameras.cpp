// gbe scan and gbe info: which cameras are there, and who one is.
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/Json.h"
#include "gbe/Table.h"
#include "gbe/options.h"

#include <QtCore/QJsonArray>

#include <cstdio>
#include <utility>
#include <vector>

namespace gbe {
namespace {

// What a camera's record tells, as a person reads it; empty fields are left out.
std::vector<std::pair<const char*, std::string>>
fieldsOf(const CameraInfo& info, const std::string& address) {
    std::vector<std::pair<const char*, std::string>> fields{
        {"MAC", Mac::at(info.mac).text()},
        {"IP", address},
        {"Manufacturer", fieldText(info.manufacturerName)},
        {"Model", fieldText(info.modelName)},
        {"Version", fieldText(info.deviceVersion)},
        {"Information", fieldText(info.manufacturerInfo)},
        {"Serial number", fieldText(info.serialNumber)},
        {"User name", fieldText(info.userDefinedName)},
    };
    std::erase_if(fields, [](const auto& field) { return field.second.empty(); });
    return fields;
}

QJsonObject jsonOf(int board, const FoundCamera& camera, const PortAddress& at) {
    const auto& [port, info, ip] = camera;
    return {
        {"board", board},
        {"port", static_cast<int>(port)},
        {"mac", QString::fromStdString(Mac::at(info.mac).text())},
        {"ip", QString::fromStdString(ip.text())},
        {"otherSubnet", !at.reaches(ip)},
        {"manufacturer", QString::fromStdString(fieldText(info.manufacturerName))},
        {"model", QString::fromStdString(fieldText(info.modelName))},
        {"version", QString::fromStdString(fieldText(info.deviceVersion))},
        {"information", QString::fromStdString(fieldText(info.manufacturerInfo))},
        {"serialNumber", QString::fromStdString(fieldText(info.serialNumber))},
        {"userName", QString::fromStdString(fieldText(info.userDefinedName))},
    };
}

void scanNetwork(const Selection& selection, bool json) {
    const Board board = openBoard(selection.board);
    QJsonArray array;
    Table table({"BOARD", "PORT", "MAC", "IP", "MANUFACTURER", "MODEL", "SERIAL", "NAME"});
    const std::vector<FoundCamera> found = findCameras(board.get(), selection);
    for (const FoundCamera& camera : found) {
        const auto& [port, info, ip] = camera;
        const PortAddress at = portAddress(board.get(), port);
        array.append(jsonOf(selection.board, camera, at));
        table.add(
            {std::to_string(selection.board), std::to_string(port), Mac::at(info.mac).text(),
             addressText(ip, at), fieldText(info.manufacturerName), fieldText(info.modelName),
             fieldText(info.serialNumber), fieldText(info.userDefinedName)});
    }
    if (json) {
        print(QJsonDocument(array));
    } else if (found.empty()) {
        std::printf("no cameras (gbe doctor tells why)\n");
    } else {
        table.print();
    }
}

void showInfo(const Selection& selection, bool json) {
    const Board board = openBoard(selection.board);
    const PickedCamera camera = pickCamera(board.get(), selection);
    const CameraInfo& info = *Gbe_getCameraInfo(camera.handle.get());
    unsigned number = 0;
    check("address", Gbe_getCameraIp(camera.handle.get(), &number));
    const Ipv4 ip = Ipv4::fromLowFirst(number);
    const PortAddress at = portAddress(board.get(), camera.port);
    if (json) {
        print(QJsonDocument(jsonOf(selection.board, {camera.port, info, ip}, at)));
        return;
    }
    Table table;
    table.add({"Board", std::to_string(selection.board)});
    table.add({"Port", std::to_string(camera.port)});
    for (const auto& [name, text] : fieldsOf(info, addressText(ip, at))) {
        table.add({name, text});
    }
    table.print();
}

Run defineScan(CLI::App& command, Context& context) {
    addJson(command, context);
    return [&context] {
        scanNetwork(context.selection, context.json);
        return ExitStatus::Success;
    };
}

Run defineInfo(CLI::App& command, Context& context) {
    addJson(command, context);
    return [&context] {
        showInfo(context.selection, context.json);
        return ExitStatus::Success;
    };
}

constexpr Example kScanExamples[] = {
    {"gbe scan", "all cameras behind the ports of board 0"},
    {"gbe --port 0 scan --json", "those behind one port, for a program"},
};

constexpr Example kInfoExamples[] = {
    {"gbe info", "the first camera that gbe scan lists"},
    {"gbe --port 0 info --json", "the first one behind port 0, for a program"},
};

} // namespace

extern const Verb kScanVerb{
    "scan",
    Group::Cameras,
    "Lists the cameras",
    &defineScan,
    kScanExamples,
    "A camera whose address is not in the subnet of its port is marked; \"gbe ip set\" brings it in."};

extern const Verb kInfoVerb{
    "info",
    Group::Cameras,
    "Tells who a camera is",
    &defineInfo,
    kInfoExamples,
    "Nothing is asked of the camera but what it tells every scan, whoever works with it."};

} // namespace gbe
