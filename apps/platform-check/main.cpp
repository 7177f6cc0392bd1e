// platform-check: is this hardware library one that liomol can work with? Call by call, and what is wrong.
#include "Platform.h"
#include "Report.h"
#include "manual/manual.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cstdio>

namespace {

using namespace platform_check;

struct Options {
    std::string hardware;
    std::string runtime;
    int board = 0;
    unsigned port = 0;
    bool send = false;
};

void checkSharing(const Platform& calls, const Options& options, Report& report) {
    if (calls.portSharing != nullptr) {
        report.calling(LIOMOL_PORT_SHARING_CALL);
        const int sharing = calls.portSharing(options.board, static_cast<int>(options.port));
        report.expect(sharing >= PORT_EXCLUSIVE && sharing <= PORT_PRIVATE, "gives one of its three values");
    }
}

void check(const Options& options, Report& report) {
    Platform calls;
    if (!load(options.hardware, options.runtime, calls, report)) {
        return;
    }
    const QLdevice device = checkOpening(calls, options.board, report);
    const fpga_design applet = device != nullptr ? checkApplet(calls, device, report) : nullptr;
    if (applet == nullptr) {
        return;
    }
    const Board board{calls, options.board, options.port, device, applet};
    checkRegisters(board, report);
    checkPhys(board, report);
    checkQueue(board, report);
    if (options.send) {
        checkFrames(board, report);
    } else {
        report.note("frames were not looked at (--send sends a scan for cameras)");
    }
    checkSharing(calls, options, report);
    checkImagePath(board, report);
    checkClosing(board, report);
}

manual::Page manualPage() {
    return {
        "platform-check",
        1,
        "[OPTIONS]",
        "Tries the calls of a frame grabber's libraries and says, call by call, what is wrong with them: a line "
        "that begins with FAIL names the call and what it should have done. A call that crashes, or does not "
        "return within half a minute, is named as well. Without --send nothing leaves the port.\n\n"
        "For people who bring liomol to another frame grabber; the guide to that says what each call must do.",
        {},
        {{"0", "Nothing is wrong"}, {"1", "Something is, or an option cannot be read"}},
        "gbe (1)"};
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Checks that the libraries of a frame grabber do what liomol needs, call by call");
    app.add_option(
           "--hardware", options.hardware, "The hardware library (default: what liomol itself would use)")
        ->type_name("FILE");
    app.add_option("--runtime", options.runtime, "The applets' library, where it is another one")
        ->type_name("FILE");
    app.add_option("--board", options.board, "The board to look at, 0 to 7")
        ->check(CLI::Range(0, 7).description(""))
        ->capture_default_str()
        ->type_name("N");
    app.add_option("--port", options.port, "Its port to look at, 0 to 3")
        ->check(CLI::Range(0, 3).description(""))
        ->capture_default_str()
        ->type_name("N");
    app.add_flag("--send", options.send, "Also sends a scan for cameras, and looks at the first answer");
    app.set_version_flag("--version", "platform-check " LIOMOL_VERSION);
    manual::addTo(app, manualPage());
    if (const std::optional<int> end = manual::parse(app, "platform-check", argc, argv)) {
        return *end;
    }
    Report report;
    check(options, report);
    alarm(0);
    std::printf("%d problem%s\n", report.problems(), report.problems() == 1 ? "" : "s");
    return report.problems() == 0 ? 0 : 1;
}
