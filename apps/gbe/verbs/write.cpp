// gbe write: registers and memory.
#include "gbe/Context.h"
#include "gbe/Memory.h"
#include "gbe/files.h"
#include "gbe/options.h"

#include <memory>

namespace gbe {
namespace {

struct Request {
    std::string place;
    std::vector<std::string> bytes; // words of them
    std::string file;
    std::string text;
    bool hasText = false;
};

Bytes bytesOf(const Request& request, const Place& place) {
    if (!request.file.empty()) {
        const std::string content = readFile(request.file);
        return Bytes(content.begin(), content.end());
    }
    if (!request.hasText) {
        std::string words;
        for (const std::string& word : request.bytes) {
            words += (words.empty() ? "" : " ") + word;
        }
        return parseBytes(words);
    }
    Bytes bytes(request.text.begin(), request.text.end());
    if (place.name.empty() || bytes.size() > place.length) {
        throw Failure(
            place.name.empty() ? "--text: for a register that has a name and so a length"
                               : place.name + ": has room for " + std::to_string(place.length) + " bytes",
            ExitStatus::Usage);
    }
    bytes.resize(place.length);
    return bytes;
}

void write(CameraHandle* camera, const Place& place, const Request& request) {
    const Bytes bytes = bytesOf(request, place);
    if (bytes.empty()) {
        throw Failure("nothing to write", ExitStatus::Usage);
    }
    if (!place.name.empty() && bytes.size() != place.length) {
        throw Failure(
            place.name + ": has " + std::to_string(place.length) + " bytes, not " +
                std::to_string(bytes.size()) + "; 0x... gives the value of a register",
            ExitStatus::Usage);
    }
    writePlace(camera, place, bytes);
}

// A camera whose description is of no use has registers all the same.
void writeBare(const Selection& selection, const Place& place, const Request& request) {
    const Board board = openBoard(selection.board);
    const Camera camera = pickCamera(board.get(), selection).handle;
    check("connecting without a description", Gbe_connectCameraWith(camera.get(), GBE_CONNECT_REGISTERS));
    write(camera.get(), place, request);
}

ExitStatus write(Context& context, const Request& request) {
    const std::optional<Place> place = placeWithoutCamera(request.place);
    CameraHandle* camera = nullptr;
    try {
        camera = context.session(Purpose::Work).camera.get();
    } catch (const Failure& failure) {
        if (!place || !isOfDescription(failure)) {
            throw;
        }
        writeBare(context.selection, *place, request);
        return ExitStatus::Success;
    }
    write(camera, placeOf(request.place, camera), request);
    return ExitStatus::Success;
}

Run define(CLI::App& command, Context& context) {
    const auto request = std::make_shared<Request>();
    command
        .add_option(
            "ADDRESS", request->place,
            "A number (2360 or 0x938), a bootstrap register, or a feature that is a register")
        ->required();
    CLI::Option* const bytes = command.add_option(
        "BYTES", request->bytes,
        "Pairs of hexadecimal digits in the order of addresses, or 0x... for the value of a register");
    CLI::Option* const file =
        command.add_option("-i,--input", request->file, "The bytes are those of a file")->type_name("FILE");
    CLI::Option* const text =
        command.add_option("--text", request->text, "The bytes are those of a text, with zeros behind it")
            ->type_name("TEXT");
    file->excludes(bytes)->excludes(text);
    text->excludes(bytes);
    return [=, &context] {
        if (bytes->count() + file->count() + text->count() == 0) {
            throw Failure("write what? BYTES, --input or --text (see gbe write --help)", ExitStatus::Usage);
        }
        request->hasText = text->count() != 0;
        return write(context, *request);
    };
}

constexpr Example kExamples[] = {
    {"gbe write UserDefinedName --text left", "the name of the camera"},
    {"gbe write StreamChannelPacketDelay 0x00000064", "the value of a register"},
    {"gbe write 0xd08 00 00 00 64", "the same as bytes at an address"},
};

} // namespace

extern const Verb kWriteVerb{
    "write",
    Group::Features,
    "Writes registers and memory",
    &define,
    kExamples,
    "Control of the camera is taken for it. What features show is not looked at: a value that a feature would "
    "refuse is written, and the camera decides. Of a camera whose description cannot be used everything but "
    "features can be written all the same."};

} // namespace gbe
