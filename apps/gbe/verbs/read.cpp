// gbe read: registers and memory.
#include "common/terminal_text.h"
#include "gbe/Context.h"
#include "gbe/Json.h"
#include "gbe/Memory.h"
#include "gbe/OutputFile.h"
#include "gbe/Table.h"
#include "gbe/options.h"

#include <QtCore/QJsonArray>

#include <cstdio>
#include <memory>

namespace gbe {
namespace {

struct Request {
    std::string place; // empty: all bootstrap registers
    std::string count;
    std::string file;
    bool bytesOnly = false;
};

std::string addressText(unsigned address) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", address);
    return text;
}

QJsonObject objectOf(const Place& place, const Bytes& bytes) {
    QJsonObject object{
        {"address", static_cast<qint64>(place.address)},
        {"length", static_cast<qint64>(bytes.size())},
        {"bytes", QString::fromStdString(hexDigits(bytes))}};
    if (!place.name.empty()) {
        object.insert("name", QString::fromStdString(place.name));
    }
    if (place.bootstrap != nullptr && place.bootstrap->length == bytes.size()) {
        const std::string meaning = meaningOf(place, bytes);
        const bool isNumber = place.bootstrap->meaning == bootstrap::Meaning::Number;
        if (isNumber) {
            object.insert("value", QString::fromStdString(meaning).toLongLong());
        } else if (place.bootstrap->meaning != bootstrap::Meaning::Bits) {
            object.insert("value", QString::fromStdString(meaning));
        }
    }
    return object;
}

// A register is a line, whatever its length when it is a text; memory is a dump.
void show(const Place& place, const Bytes& bytes) {
    const std::string meaning = meaningOf(place, bytes);
    const bool isText = place.bootstrap != nullptr && place.bootstrap->length == bytes.size() &&
                        place.bootstrap->meaning == bootstrap::Meaning::Text;
    if (!isText && bytes.size() != 4) {
        printDump(place.address, bytes);
        return;
    }
    Table table;
    table.add(
        {addressText(place.address), place.name, isText ? "" : "0x" + hexDigits(bytes),
         isText ? "\"" + meaning + "\"" : meaning});
    table.print();
}

// A camera whose description is of no use has registers all the same, but no features.
template<typename Read> void withCamera(Context& context, bool isFeature, Read&& read) {
    try {
        read(context.session(Purpose::Look).camera.get(), &readPlace);
    } catch (const Failure& failure) {
        if (isFeature || !isOfDescription(failure)) {
            throw;
        }
        const Board board = openBoard(context.selection.board);
        read(pickCamera(board.get(), context.selection).handle.get(), &readFound);
    }
}

ExitStatus readOne(Context& context, const Request& request) {
    Place place;
    Bytes bytes;
    withCamera(context, !placeWithoutCamera(request.place), [&](CameraHandle* camera, auto* read) {
        place = placeOf(request.place, camera);
        if (!request.count.empty() && place.isFeature) {
            throw Failure(place.name + ": a feature's register has its own length", ExitStatus::Usage);
        }
        place.length = request.count.empty() ? place.length : parseCount(request.count);
        bytes = read(camera, place);
    });
    if (!request.file.empty()) {
        OutputFile file(request.file);
        file.write(bytes);
        file.close();
    } else if (context.json) {
        print(QJsonDocument(objectOf(place, bytes)));
    } else if (request.bytesOnly) {
        std::printf("%s\n", hexDigits(bytes).c_str());
    } else {
        show(place, bytes);
    }
    return ExitStatus::Success;
}

// What a camera does not have is left out.
void readAll(
    CameraHandle* camera, Bytes (*read)(CameraHandle*, const Place&), Table& table, QJsonArray& array) {
    for (const bootstrap::Register& each : bootstrap::kRegisters) {
        if (each.access == bootstrap::Access::Write) {
            continue;
        }
        const Place place{std::string(each.name), each.address, each.length, &each, false};
        try {
            const Bytes bytes = read(camera, place);
            const bool isText = each.meaning == bootstrap::Meaning::Text;
            const std::string meaning = meaningOf(place, bytes);
            array.append(objectOf(place, bytes));
            table.add(
                {addressText(place.address), place.name, isText ? "" : "0x" + hexDigits(bytes),
                 isText ? "\"" + meaning + "\"" : meaning});
        } catch (const Failure& failure) {
            if (failure.status() == ExitStatus::Lost) {
                throw;
            }
        }
    }
}

ExitStatus readAll(Context& context) {
    Table table({"ADDRESS", "NAME", "CONTENT", "VALUE"});
    QJsonArray array;
    withCamera(
        context, false, [&](CameraHandle* camera, auto* read) { readAll(camera, read, table, array); });
    context.json ? print(QJsonDocument(array)) : table.print();
    return ExitStatus::Success;
}

Run define(CLI::App& command, Context& context) {
    const auto request = std::make_shared<Request>();
    command.add_option(
        "ADDRESS", request->place,
        "A number (2360 or 0x938), a bootstrap register, or a feature that is a register (default: all "
        "bootstrap registers)");
    command.add_option("COUNT", request->count, "Bytes (default: of the register; 4)");
    command.add_option("-o,--output", request->file, "The bytes go to this file; - is standard output")
        ->type_name("FILE");
    command.add_flag("-q,--bytes", request->bytesOnly, "Only the bytes, as hexadecimal digits");
    addJson(command, context);
    return [=, &context] { return request->place.empty() ? readAll(context) : readOne(context, *request); };
}

constexpr Example kExamples[] = {
    {"gbe read HeartbeatTimeout", "a bootstrap register by its name"},
    {"gbe read 0x200 64", "64 bytes of memory"},
    {"gbe read", "all bootstrap registers that the camera has"},
    {"gbe read -o url.bin FirstUrl", "the bytes of a register in a file"},
};

} // namespace

extern const Verb kReadVerb{
    "read",
    Group::Features,
    "Reads registers and memory",
    &define,
    kExamples,
    "The bootstrap registers bear the names of the GigE Vision standard without blanks; letter case does not "
    "count. A camera whose description cannot be used can be read all the same."};

} // namespace gbe
