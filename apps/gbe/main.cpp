// gbe: GigE Vision cameras on frame grabber boards, from the command line.
#include "Failure.h"
#include "commands.h"
#include "grab.h"
#include "service.h"

#include <CLI/CLI.hpp>
#include <QtCore/QCoreApplication>

#include <cstdio>
#include <cstdlib>

namespace {

using namespace gbe;

// What the command line says; strings are turned into addresses when all of it has been read.
struct Arguments {
    Selection selection;
    bool json = false;
    bool noLinks = false;
    bool all = false;
    bool valuesOnly = false;
    std::vector<std::string> names;
    std::string name;
    std::string file = "-";
    NewAddress address;
    std::string port;
    GrabRequest grab;
    StreamRequest stream;

    Format format() const { return json ? Format::Json : Format::Text; }
};

void addSelection(CLI::App& app, Selection& selection) {
    app.add_option("--board", selection.board, "Board, 0 to 7")
        ->check(CLI::Range(0, 7))
        ->capture_default_str();
    app.add_option("--port", selection.port, "Port of the board, 0 to 3 (default: all)")
        ->check(CLI::Range(0, 3));
    app.add_option_function<std::string>(
        "--mac",
        [&selection](const std::string& text) {
            selection.mac = Mac::parse(text);
            if (!selection.mac) {
                throw CLI::ValidationError("--mac", "\"" + text + "\" is not a MAC address");
            }
        },
        "Camera with this MAC address");
    app.add_option_function<std::string>(
        "--ip",
        [&selection](const std::string& text) {
            selection.ip = Ipv4::parse(text);
            if (!selection.ip) {
                throw CLI::ValidationError("--ip", "\"" + text + "\" is not an IPv4 address");
            }
        },
        "Camera with this IPv4 address");
    app.add_option("--name", selection.name, "Camera with this user-defined name");
    app.add_flag("--standard", selection.standard, "Read the description as the GenICam standard has it");
}

void addPortAddressCommand(CLI::App& ip, Arguments& arguments) {
    CLI::App* port = ip.add_subcommand("port", "Has the service give a port an address and keep it");
    port->fallthrough()->callback([&] { setPortAddress(arguments.port, arguments.address.ip); });
    port->add_option("PORT", arguments.port, "BOARD:PORT, as in 0:1")->required();
    port->add_option("IP", arguments.address.ip, "Its address and the length of its mask, 192.168.0.250/24")
        ->required();
}

void addIpCommands(CLI::App& app, Arguments& arguments) {
    CLI::App* ip = app.add_subcommand("ip", "Addresses of ports and cameras")->fallthrough();
    ip->require_subcommand(1);
    ip->add_subcommand("show", "Lists them")->fallthrough()->callback([&] {
        showAddresses(arguments.selection);
    });
    CLI::App* set = ip->add_subcommand("set", "Gives a camera an address, in whatever subnet it is now");
    set->fallthrough()->callback([&] { setAddress(arguments.selection, arguments.address); });
    addPortAddressCommand(*ip, arguments);
    NewAddress& address = arguments.address;
    set->add_option("CAMERA", address.camera, "Its MAC address, IP address or name")->required();
    set->add_option("IP", address.ip, "Its new address; \"auto\" lets it look for one itself")->required();
    set->add_option("--mask", address.mask, "Subnet mask, 255.255.0.0 or 16 (default: the port's)");
    set->add_option("--gateway", address.gateway, "Default gateway (default: none)");
}

void addStreamOptions(CLI::App& command, StreamRequest& request) {
    command.add_option("--set", request.settings, "NAME=VALUE, a feature to be written before (repeatable)")
        ->allow_extra_args(false);
    command.add_option(
        "--packet-size", request.packetSize,
        "Bytes; \"auto\": the largest that passes (default); \"keep\": the camera's own");
}

void addImageCommands(CLI::App& app, Arguments& arguments) {
    GrabRequest& request = arguments.grab;
    request.seconds = 5;
    CLI::App* grab = app.add_subcommand("grab", "Saves images as pictures");
    grab->fallthrough()->callback([&] {
        request.output = arguments.format();
        if (grabImages(arguments.selection, request) != 0) {
            throw CLI::RuntimeError(EXIT_FAILURE); // nothing more is printed
        }
    });
    grab->add_option("-n,--count", request.count, "Images, successive ones (default: 1)")
        ->check(CLI::Range(1U, 1'000'000'000U));
    grab->add_option(
        "-o,--output", request.file,
        "File; of several images each has its number in it, or where %d or %03d is (default: image.png, with "
        "--json none)");
    grab->add_option("--format", request.format, "png, tiff, pnm or raw (default: by the file's name)");
    grab->add_option("--timeout", request.seconds, "Seconds to wait for each image (default: 5)")
        ->check(CLI::Range(0.0, 1e6));
    grab->add_flag("--trigger", request.trigger, "Each image by a software trigger");
    grab->add_flag("--json", arguments.json, "As JSON, an object a line for each image");
    addStreamOptions(*grab, request);
    CLI::App* stream = app.add_subcommand("stream", "Shows how images come, until Ctrl-C");
    stream->fallthrough()->callback([&] { streamImages(arguments.selection, arguments.stream); });
    stream->add_option("--seconds", arguments.stream.seconds, "End by itself after that time")
        ->check(CLI::Range(0.0, 1e9));
    addStreamOptions(*stream, arguments.stream);
}

void addCommands(CLI::App& app, Arguments& arguments) {
    const Selection& selection = arguments.selection;
    const auto command = [&](const char* name, const char* text, auto run) {
        CLI::App* sub = app.add_subcommand(name, text)->fallthrough();
        sub->callback(run);
        return sub;
    };
    auto* boards = command("boards", "Lists the boards and their links", [&] {
        showBoards(!arguments.noLinks, arguments.format());
    });
    boards->add_flag("--no-links", arguments.noLinks, "Do not look at the links, which takes 0.3 s each");
    auto* scan = command("scan", "Lists the cameras", [&] { scanNetwork(selection, arguments.format()); });
    command("rescan", "Has the service look again at links, boards and interfaces", [&app, &selection] {
        const bool everything = app.count("--board") == 0 && !selection.port;
        rescan(everything ? std::nullopt : std::optional(selection.board), selection.port);
    });
    auto* info = command("info", "Tells who a camera is", [&] { showInfo(selection, arguments.format()); });
    auto* list = command(
        "list", "Lists the features with their values", [&] { listFeatures(selection, arguments.all); });
    list->add_flag("--all", arguments.all, "Helpers behind the features too, in the order of names");
    auto* get = command("get", "Reads features", [&] {
        if (getFeatures(selection, arguments.names, arguments.valuesOnly, arguments.format()) != 0) {
            throw CLI::RuntimeError(EXIT_FAILURE); // nothing more is printed
        }
    });
    get->add_option("NAME", arguments.names, "Names of features")->required();
    get->add_flag("-q,--values", arguments.valuesOnly, "Only the values");
    auto* set = command("set", "Writes features", [&] { setFeatures(selection, arguments.names); });
    set->add_option("NAME=VALUE", arguments.names, "Names of features and their values")->required();
    auto* exec = command("exec", "Executes a command and waits until it is done", [&] {
        executeCommand(selection, arguments.name);
    });
    exec->add_option("NAME", arguments.name, "Name of a command")->required();
    auto* xml =
        command("xml", "Saves the camera's description", [&] { saveDescription(selection, arguments.file); });
    xml->add_option("-o,--output", arguments.file, "File (default: standard output)");
    addImageCommands(app, arguments);
    addIpCommands(app, arguments);
    command("doctor", "Tells why cameras are not found or do not answer, and what mends it", [&] {
        if (runDoctor(selection) != 0) {
            throw CLI::RuntimeError(EXIT_FAILURE); // nothing more is printed
        }
    });
    command("demo", "Shows the main job on a camera, step by step", [&] { runDemo(selection); });
    for (CLI::App* sub : {boards, scan, info, get}) {
        sub->add_flag("--json", arguments.json, "As JSON");
    }
}

// A word that is no command is named; the parser itself says only that a command is missing.
std::string textOf(const CLI::App& app, const CLI::Error& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    const bool missing = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
    return missing && !unknown.empty() ? "no such command: " + unknown.front() : error.what();
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    Arguments arguments;
    CLI::App app("GigE Vision cameras on frame grabber boards");
    app.set_version_flag("--version", std::string("gbe ") + Gbe_getVersion());
    app.require_subcommand(1);
    app.failure_message([](const CLI::App* where, const CLI::Error& error) {
        return "gbe: " + textOf(*where, error) + " (see --help)\n";
    });
    addSelection(app, arguments.selection);
    addCommands(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    } catch (const Failure& failure) {
        complain(failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
