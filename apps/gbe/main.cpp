// gbe: GigE Vision cameras on frame grabber boards, from the command line.
#include "CommandLine.h"
#include "Failure.h"

#include <QtCore/QCoreApplication>

#include <cstdlib>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
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
