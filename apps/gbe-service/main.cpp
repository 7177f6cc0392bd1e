// gbe-service: owns the network configuration of the boards' ports and answers the library's questions about
// them on a local socket.
#include "Desk.h"
#include "Server.h"
#include "Settings.h"
#include "bounds.h"
#include "manual/manual.h"

#include "liomol/gige.h"

#include <CLI/CLI.hpp>
#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QSocketNotifier>

#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace gbe_service;

struct Options {
    std::string boards;
    std::string config = LIOMOL_SERVICE_CONFIG;
    bool configGiven = false;
    std::string state = LIOMOL_SERVICE_STATE;
};

int fail(const std::string& text) {
    std::fprintf(stderr, "gbe-service: %s\n", text.c_str());
    return EXIT_FAILURE;
}

bool loadSettings(const Options& options, Settings& settings, std::string& error) {
    settings.idleLimit = kDefaultIdleLimit;
    const QString config = QString::fromLocal8Bit(options.config.c_str());
    if ((options.configGiven || QFileInfo::exists(config)) && !readSettings(config, settings, error)) {
        return false;
    }
    return options.boards.empty() || parseBoards(options.boards, settings.boards, error);
}

// The signals that end the service, as something to wait for; they must be blocked before any thread starts.
int makeStopDescriptor() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

int serve(const Options& options) {
    const int stop = makeStopDescriptor();
    const int wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::string error;
    Settings settings;
    if (!loadSettings(options, settings, error)) {
        return fail(error);
    }
    AddressBook addresses(QString::fromLocal8Bit(options.state.c_str()));
    if (!addresses.load(error)) {
        fail(error + " (going on without)");
    }
    int result = EXIT_SUCCESS;
    Server server(LIOMOL_SERVICE_SOCKET);
    if (!server.listen(settings.socketGroup, error)) {
        return fail(error);
    }
    Desk desk(settings, addresses, [wake] {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(wake, &one, sizeof one); // fails only when set already
    });
    server.serve(desk, settings.idleLimit);
    QSocketNotifier wakeNotifier(wake, QSocketNotifier::Read);
    QObject::connect(&wakeNotifier, &QSocketNotifier::activated, [&] {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = read(wake, &count, sizeof count);
        server.retryAll();
    });
    QSocketNotifier stopNotifier(stop, QSocketNotifier::Read);
    QObject::connect(&stopNotifier, &QSocketNotifier::activated, [] { QCoreApplication::quit(); });
    result = QCoreApplication::exec();
    if (!desk.stop()) {
        unlink(LIOMOL_SERVICE_SOCKET);
        std::_Exit(result);
    }
    return result;
}

manual::Page manualPage() {
    return {
        "gbe-service",
        8,
        "[OPTIONS]",
        "Gives each Ethernet port of the frame grabbers its MAC and IP address, keeps the addresses that "
        "gbe ip port gives, and answers the questions of programs that use cameras, over a socket of this "
        "computer. Programs cannot open a board without it. It runs until it gets SIGTERM or SIGINT; the unit "
        "gbe-service.service starts it with the system.\n\n"
        "The configuration file has lines KEY = VALUE: boards, socket-group, idle-limit (seconds), and, behind "
        "[board N port M], ip and mac. A file that cannot be read as that ends the program, with its line.",
        {{LIOMOL_SERVICE_CONFIG, "Configuration, read once at the start"},
         {LIOMOL_SERVICE_STATE, "Addresses that were given with gbe ip port"},
         {LIOMOL_SERVICE_SOCKET, "Socket; those who may connect may ask and configure"}},
        {{"0", "Stopped by a signal"}, {"1", "The socket, the configuration or an option is wrong"}},
        "gbe (1)"};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    Options options;
    CLI::App app("Owns the network configuration of the frame grabbers' Ethernet ports and answers for it "
                 "on " LIOMOL_SERVICE_SOCKET);
    app.add_option("--boards", options.boards, "Boards to serve (default: every board that is there)")
        ->type_name("N,N");
    const auto* config = app.add_option("--config", options.config, "Configuration file")
                             ->capture_default_str()
                             ->type_name("FILE");
    app.add_option("--state", options.state, "File that keeps the ports' IP addresses")
        ->capture_default_str()
        ->type_name("FILE");
    app.set_version_flag("--version", std::string("gbe-service ") + Gbe_getVersion());
    manual::addTo(app, manualPage());
    if (const std::optional<int> end = manual::parse(app, "gbe-service", argc, argv)) {
        return *end;
    }
    options.configGiven = config->count() > 0;
    std::signal(SIGPIPE, SIG_IGN);
    umask(022);
    return serve(options);
}
