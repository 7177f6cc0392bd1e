// gbe capture: what goes over a port, as a file for a protocol analyser.
#include "gbe/Capture.h"
#include "gbe/CommandLine.h"
#include "gbe/Interrupt.h"
#include "gbe/OutputFile.h"
#include "gbe/options.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <thread>

namespace gbe {
namespace {

using Clock = std::chrono::steady_clock;

struct Request {
    std::string file;
    bool stream = false;
    double seconds = 0; // 0: until it is stopped
    std::vector<std::string> command;
};

std::string textOf(const std::vector<std::string>& words) {
    std::string text = "gbe";
    for (const std::string& word : words) {
        text += " " + word;
    }
    return text;
}

// Begins to listen; the number of interfaces. Ports that are none are heard for a command of this program
// alone.
std::size_t listen(Capture& capture, const Context& context, const Request& request) {
    std::size_t interfaces = 0;
    std::string refusal;
    for (const CapturePort& port : capturePorts(context.selection)) {
        const auto scope = request.stream ? Capture::Scope::All : Capture::Scope::Control;
        std::string error;
        if (!port.interface.empty() && capture.addInterface(port, scope, error)) {
            ++interfaces;
        } else if (!request.command.empty()) {
            capture.addOwnFrames(port);
        }
        refusal = error.empty() ? refusal : error;
    }
    if (!refusal.empty() && request.command.empty()) {
        throw Failure(refusal, ExitStatus::NoRight);
    }
    if (!refusal.empty()) {
        complain(refusal + "; only the frames of this program are captured");
    }
    return interfaces;
}

void waitForEnd(const Interrupt& interrupt, double seconds, OutputFile& file) {
    constexpr std::chrono::milliseconds kLook{100};
    const auto begin = Clock::now();
    while (!interrupt.asked() &&
           (seconds == 0 || std::chrono::duration<double>(Clock::now() - begin).count() < seconds)) {
        std::this_thread::sleep_for(kLook);
        file.flush();
    }
}

ExitStatus captureTraffic(Context& context, const Request& request) {
    static bool isUnderWay = false;
    const std::vector<std::string>& command = request.command;
    if (isUnderWay) {
        throw Failure("capture: is under way already", ExitStatus::Usage);
    }
    if (request.file == "-" && !command.empty()) {
        throw Failure(
            "a command's output and its frames cannot both go to standard output", ExitStatus::Usage);
    }
    OutputFile file(request.file);
    common::PcapngFile pcapng(
        [&](std::span<const std::uint8_t> block) { file.write(block); },
        std::string("gbe ") + Gbe_getVersion(), systemText(),
        command.empty() ? std::vector<std::string>{} : std::vector{textOf(command)});
    Capture capture(pcapng);
    std::optional<Interrupt> interrupt; // before there is anything in the file that a signal could spoil
    if (command.empty()) {
        interrupt.emplace();
    }
    const std::size_t interfaces = listen(capture, context, request);
    if (command.empty() && interfaces == 0) {
        throw Failure(
            "no port of board " + std::to_string(context.selection.board) +
                " is a network interface: capture around a command instead (see gbe capture --help)",
            ExitStatus::Usage);
    }
    ExitStatus status = ExitStatus::Success;
    if (command.empty()) {
        waitForEnd(*interrupt, request.seconds, file);
    } else {
        isUnderWay = true;
        context.disconnect(); // what connecting takes is part of it
        status = CommandLine(context).run(command);
        context.disconnect();
        isUnderWay = false;
    }
    capture.stop(command.empty() ? "" : "ended with status " + std::to_string(static_cast<int>(status)));
    file.close();
    std::fprintf(
        stderr, "%s: %llu frames%s\n", request.file.c_str(),
        static_cast<unsigned long long>(capture.frames()),
        capture.lost() != 0 ? (", " + std::to_string(capture.lost()) + " lost").c_str() : "");
    return status;
}

Run define(CLI::App& command, Context& context) {
    const auto request = std::make_shared<Request>();
    command.add_option("-o,--output", request->file, "File in the format pcapng; - is standard output")
        ->required()
        ->type_name("FILE");
    command.add_flag("--stream", request->stream, "Image streams too");
    addSeconds(
        command, "--seconds", request->seconds, "Ends by itself after that time (default: at Ctrl-C)", 0.001);
    command.add_option(
        "VERB", request->command, "Behind --: a verb of gbe with its arguments, to capture around it");
    return [=, &context] { return captureTraffic(context, *request); };
}

constexpr Example kExamples[] = {
    {"gbe capture -o set.pcapng -- set Width=640", "what setting a feature takes on the wire"},
    {"gbe capture -o scan.pcapng -- scan", "how cameras answer a scan"},
};

} // namespace

extern const Verb kCaptureVerb{
    "capture",
    Group::Trouble,
    "Captures the traffic of ports as pcapng",
    &define,
    kExamples,
    "Without a command it captures what all programs do on the ports of the board that are network interfaces "
    "(--port chooses one), until Ctrl-C; that needs the right to raw frames. \"gbe capture -o - | wireshark -k "
    "-i -\" shows it as it comes.\n\n"
    "Around a command it also works with ports of a frame grabber, and without that right: then it hears the "
    "control traffic of this program, without image streams."};

} // namespace gbe
