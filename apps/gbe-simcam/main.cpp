// gbe-simcam: GigE Vision cameras in software on a network interface of Linux.
#include "Console.h"
#include "ControlServer.h"
#include "configuration.h"
#include "print.h"

#include "manual/manual.h"
#include "netif/interface.h"
#include "pictures/read_png.h"
#include "simcam/text.h"

#include <CLI/CLI.hpp>

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace {

using namespace gbe_simcam;

struct Options {
    std::string interface;
    std::string tap;
    std::vector<std::string> cameras;
    std::string config;
    unsigned count = 0;
    std::string control;
    std::string images;
};

int fail(const std::string& text) {
    complain(text);
    return EXIT_FAILURE;
}

// The signals that end the program, as something to wait for; blocked before any thread starts.
int makeStopDescriptor() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

bool listCameras(const Options& options, std::vector<ethernet::Settings>& cameras, std::string& error) {
    if (!options.config.empty() && !readCameras(options.config, cameras, error)) {
        return false;
    }
    for (const std::string& text : options.cameras) {
        cameras.emplace_back();
        if (!parseCamera(text, cameras.back(), error)) {
            return false;
        }
    }
    cameras.resize(cameras.size() + options.count);
    if (cameras.empty()) {
        cameras.emplace_back();
    }
    for (ethernet::Settings& camera : cameras) {
        if (!options.images.empty()) {
            camera.insert({"images", options.images});
        }
    }
    const std::string where = options.tap.empty() ? options.interface : options.tap;
    const auto mac = netif::queryInterface(where).mac;
    const bool own = options.tap.empty(); // that of a TAP device is another each time
    return complete(cameras, own ? std::string(mac.begin(), mac.end()) : where, error);
}

// One line for what happens, when it happens.
simcam::NoticeSink noticesOf(std::size_t number, const std::string& mac, const std::string& where) {
    return [=](simcam::Notice notice, const std::string& line) {
        const std::string who = "camera " + std::to_string(number) + ": ";
        report(
            notice == simcam::Notice::NewAddress ? who + "ready, MAC " + mac + ", " + line + ", on " + where
                                                 : who + line);
    };
}

std::vector<Segment::Member>
makeCameras(const std::vector<ethernet::Settings>& all, const std::string& where, std::string& error) {
    std::vector<Segment::Member> members;
    for (const ethernet::Settings& settings : all) {
        const std::size_t number = members.size() + 1;
        const std::string& mac = settings.at("mac");
        auto camera = simcam::Camera::make(settings, error, noticesOf(number, mac, where));
        if (!camera) {
            error.insert(0, "camera " + std::to_string(number) + ": ");
            return {};
        }
        members.push_back({simcam::parseMac(mac).value_or(0), std::move(camera)});
    }
    return members;
}

std::unique_ptr<Wire>
openWire(const Options& options, const std::vector<ethernet::Settings>& cameras, std::string& error) {
    if (!options.tap.empty()) {
        return openTap(options.tap, error);
    }
    std::vector<std::uint64_t> macs;
    macs.reserve(cameras.size());
    for (const ethernet::Settings& settings : cameras) {
        macs.push_back(simcam::parseMac(settings.at("mac")).value_or(0));
    }
    return openInterface(options.interface, macs, error);
}

// Tells when frames cannot run on the wire, and when they can again.
class WireWatch {
public:
    explicit WireWatch(Wire& wire) : m_wire(wire) {}

    void operator()() {
        const std::string trouble = m_wire.trouble();
        if (trouble != m_trouble) {
            report("wire: " + (trouble.empty() ? "frames run again" : trouble));
            m_trouble = trouble;
        }
    }

private:
    Wire& m_wire;
    std::string m_trouble;
};

int serve(const Options& options) {
    const int stop = makeStopDescriptor();
    std::string error;
    std::vector<ethernet::Settings> settings;
    if (!listCameras(options, settings, error)) {
        return fail(error);
    }
    auto wire = openWire(options, settings, error);
    ControlServer server(options.control); // before a camera says that it is ready
    if (!wire || !server.listen(error)) {
        return fail(error);
    }
    auto members = makeCameras(settings, options.tap.empty() ? options.interface : options.tap, error);
    if (members.empty()) {
        return fail(error);
    }
    Segment segment(std::move(wire), std::move(members));
    Console console(segment, [&server] { server.stop(); });
    server.run(console, stop, WireWatch(segment.wire()));
    return EXIT_SUCCESS;
}

manual::Page manualPage() {
    return {
        "gbe-simcam",
        1,
        "--interface NAME | --tap NAME [OPTIONS]",
        "Puts GigE Vision cameras in software on a network interface. Any client that reaches the interface "
        "finds them, controls them, reads their features and gets images of them: test patterns, or pictures "
        "of a folder. Runs until it is interrupted or told to quit, and prints a line for what happens to a "
        "camera.\n\n"
        "An interface needs the right to raw frames (root, or the capability CAP_NET_RAW), a TAP device "
        "CAP_NET_ADMIN. The host that the interface belongs to does not see the cameras; a virtual wire with "
        "one end in a network namespace serves programs of the same computer.",
        {},
        {{"0", "Stopped by a signal or told to quit"},
         {"1", "The right, the interface or a setting is wrong"}},
        "gbe (1)"};
}

// As --help lists them.
std::string settingsOfACamera() {
    std::string text = "Settings of a camera:\n";
    for (const simcam::SettingFact& fact : simcam::kSettingFacts) {
        std::string key = "  " + std::string(fact.key);
        key.resize(20, ' ');
        text += key + std::string(fact.help) + "\n";
    }
    return text;
}

void addOptions(CLI::App& app, Options& options) {
    auto* interface = app.add_option("--interface", options.interface, "Interface that the cameras are on");
    interface->type_name("NAME");
    app.add_option("--tap", options.tap, "Instead: a TAP device to this host, made when it is not there")
        ->excludes(interface)
        ->type_name("NAME");
    app.add_option(
           "--camera", options.cameras, "A camera, its settings with commas between them (repeatable)")
        ->allow_extra_args(false)
        ->type_name("KEY=VALUE");
    app.add_option("--config", options.config, "File with a section [camera] for each camera")
        ->type_name("FILE");
    app.add_option("--count", options.count, "As many cameras besides, with default settings")
        ->type_name("N");
    app.add_option("--images", options.images, "Folder with pictures (PNG, PGM, PPM) that the cameras show")
        ->type_name("DIR");
    app.add_option("--control", options.control, "Path of a socket that takes commands")->type_name("PATH");
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("GigE Vision cameras in software on a network interface of Linux");
    addOptions(app, options);
    auto* control = app.add_subcommand("control", "Sends a command to a gbe-simcam that runs");
    std::string path;
    std::vector<std::string> words;
    control->add_option("path", path, "Its control socket")->required();
    control->add_option("command", words, "The command; 'help' shows all")->required();
    app.set_version_flag("--version", "gbe-simcam " LIOMOL_VERSION);
    app.footer(settingsOfACamera());
    manual::addTo(app, manualPage());
    if (const std::optional<int> end = manual::parse(app, "gbe-simcam", argc, argv)) {
        return *end;
    }
    simcam::addPictureKind(".png", &pictures::readPng);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTTIN, SIG_IGN); // in the background standard input is as good as closed
    if (control->parsed()) {
        std::string command;
        for (const std::string& word : words) {
            command += (command.empty() ? "" : " ") + word;
        }
        return sendCommand(path, command);
    }
    if (options.interface.empty() && options.tap.empty()) {
        return fail("--interface or --tap is wanted (see --help)");
    }
    return serve(options);
}
