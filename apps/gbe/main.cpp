// gbe: GigE Vision cameras on frame grabber boards, from the command line.
#include "CommandLine.h"
#include "Failure.h"

#include <QtCore/QCoreApplication>

#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>

namespace {

// What is closed at the start would be the first thing that is opened: a socket, say, that all that is
// printed would go to.
void keepStandardFiles() {
    for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
        if (fcntl(file, F_GETFD) < 0) {
            open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY); // using it stays an error
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    keepStandardFiles();
    QCoreApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C"); // the line above takes over the user's, and 1.5 would be no number there
    gbe::Context context;
    if (const char* chosen = std::getenv(gbe::kSelectionVariable)) {
        try {
            context.selection = gbe::parseSelection(chosen);
        } catch (const gbe::Failure& failure) {
            gbe::complain(failure.what());
            return static_cast<int>(failure.status());
        }
    }
    return static_cast<int>(gbe::CommandLine(context).run({argv + 1, argv + argc}));
}
