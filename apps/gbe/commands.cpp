#include "commands.h"

#include "Failure.h"
#include "Table.h"
#include "common/terminal_text.h"
#include "features.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <utility>

namespace gbe {
namespace {

void print(const QJsonDocument& document) {
    std::printf("%s", document.toJson(QJsonDocument::Indented).constData());
}

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

std::string linkText(int board, unsigned port) {
    int up = 0;
    const int code = Gbe_getLinkState(board, port, &up);
    return code < 0 ? Gbe_getErrorDescription(code) : up != 0 ? "up" : "down";
}

// The value for a person's eyes: what cannot be read tells why.
std::string valueOrReason(CameraHandle* camera, const std::string& name, int kind) {
    if (kind == GBE_KIND_COMMAND) {
        return "";
    }
    try {
        return readText(camera, name);
    } catch (const Failure& failure) {
        return "(" + failure.reason() + ")";
    }
}

void listAll(CameraHandle* camera) {
    Table table({"NAME", "KIND", "VALUE"});
    const int count = Gbe_getFeatureCount(camera);
    check("features", count);
    for (int i = 0; i < count; ++i) {
        const char* name = nullptr;
        check("features", Gbe_getFeatureName(camera, static_cast<unsigned>(i), &name));
        const int kind = featureKind(camera, name);
        table.add({name, kindName(kind), valueOrReason(camera, name, kind)});
    }
    table.print();
}

} // namespace

void showBoards(bool withLinks, Format format) {
    QJsonArray array;
    Table table(
        withLinks ? std::vector<std::string>{"BOARD", "PORT 0", "PORT 1", "PORT 2", "PORT 3"}
                  : std::vector<std::string>{"BOARD"});
    for (int number = 0; number < GBE_BOARDS; ++number) {
        BoardHandle* handle = nullptr;
        if (Gbe_initBoard(number, 0, &handle) != 0) {
            continue;
        }
        const Board board(handle, &Gbe_freeBoard);
        std::vector<std::string> row{std::to_string(number)};
        QJsonArray links;
        for (unsigned port = 0; withLinks && port < GBE_PORTS; ++port) {
            row.push_back(linkText(number, port));
            links.append(QString::fromStdString(row.back()));
        }
        table.add(row);
        array.append(
            withLinks ? QJsonObject{{"board", number}, {"links", links}} : QJsonObject{{"board", number}});
    }
    if (array.isEmpty()) {
        throw Failure("boards (is gbe-service running?)", GBE_ERROR_BOARD_INITIALIZATION);
    }
    format == Format::Json ? print(QJsonDocument(array)) : table.print();
}

void scanNetwork(const Selection& selection, Format format) {
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
    if (format == Format::Json) {
        print(QJsonDocument(array));
    } else if (found.empty()) {
        std::printf("no cameras\n");
    } else {
        table.print();
    }
}

void showInfo(const Selection& selection, Format format) {
    const Board board = openBoard(selection.board);
    const PickedCamera camera = pickCamera(board.get(), selection);
    const CameraInfo& info = *Gbe_getCameraInfo(camera.handle.get());
    unsigned number = 0;
    check("address", Gbe_getCameraIp(camera.handle.get(), &number));
    const Ipv4 ip = Ipv4::fromLowFirst(number);
    const PortAddress at = portAddress(board.get(), camera.port);
    if (format == Format::Json) {
        print(QJsonDocument(jsonOf(selection.board, {camera.port, info, ip}, at)));
        return;
    }
    Table table;
    table.add({"Board", std::to_string(selection.board)});
    table.add({"Port", std::to_string(camera.port)});
    for (const auto& [name, text] : fieldsOf(info, addressText(ip, at))) {
        table.add({name, text});
    }
    if (at.reaches(ip) && Gbe_connectCameraForReading(camera.handle.get()) >= 0) {
        const std::string differences = standardDifferences(camera.handle.get());
        table.add({"Read unlike the standard", differences.empty() ? "nothing" : differences});
    }
    table.print();
}

void listFeatures(const Selection& selection, bool all) {
    const Session session(selection, Purpose::Look);
    CameraHandle* camera = session.camera.get();
    if (all) {
        listAll(camera);
        return;
    }
    const std::vector<Category> categories = readCategories(readDescription(camera));
    std::set<std::string> names;
    for (const Category& category : categories) {
        names.insert(category.name);
    }
    for (const Category& category : categories) {
        Table table;
        for (const std::string& feature : category.features) {
            int kind = GBE_KIND_OTHER;
            if (names.count(feature) == 0 && Gbe_getFeatureKind(camera, feature.c_str(), &kind) == 0) {
                table.add({feature, kindName(kind), valueOrReason(camera, feature, kind)});
            }
        }
        if (!table.empty()) {
            std::printf("%s\n", common::terminalText(category.name).c_str());
            table.print(2);
        }
    }
}

int getFeatures(
    const Selection& selection, const std::vector<std::string>& names, bool valuesOnly, Format format) {
    const Session session(selection, Purpose::Look);
    QJsonObject object;
    Table table;
    std::vector<std::string> failures;
    for (const std::string& name : names) {
        try {
            if (format == Format::Json) {
                object.insert(QString::fromStdString(name), readJson(session.camera.get(), name));
                continue;
            }
            const std::string value = readText(session.camera.get(), name);
            table.add(valuesOnly ? std::vector{value} : std::vector{name, value});
        } catch (const Failure& failure) {
            failures.emplace_back(failure.what());
            if (valuesOnly) {
                table.add({""});
            }
        }
    }
    format == Format::Json ? print(QJsonDocument(object)) : table.print();
    for (const std::string& failure : failures) {
        complain(failure);
    }
    return static_cast<int>(failures.size());
}

void setFeatures(const Selection& selection, const std::vector<std::string>& texts) {
    const auto values = parseSettings(texts); // all of them before the first is written
    const Session session(selection, Purpose::Work);
    for (const auto& [name, value] : values) {
        writeText(session.camera.get(), name, value);
    }
}

void executeCommand(const Selection& selection, const std::string& name) {
    const Session session(selection, Purpose::Work);
    execute(session.camera.get(), name);
}

void saveDescription(const Selection& selection, const std::string& file) {
    const Session session(selection, Purpose::Look);
    std::string text = readDescription(session.camera.get());
    if (file == "-" && isatty(STDOUT_FILENO) != 0) {
        text = common::terminalLines(text);
    }
    std::FILE* out = file == "-" ? stdout : std::fopen(file.c_str(), "wb");
    if (out == nullptr) {
        throw Failure(file + ": " + std::strerror(errno));
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), out) == text.size();
    const bool flushed = std::fflush(out) == 0;
    const int cause = errno;
    if (out != stdout) {
        std::fclose(out);
    }
    if (!written || !flushed) {
        throw Failure(file + ": " + std::strerror(cause));
    }
}

} // namespace gbe
