// How the ports of the board in software are shared between programs.
#include "platform/port_sharing.h"
#include "softboard/Hardware.h"

extern "C" __attribute__((visibility("default"))) int softboard_portSharing(int board, int port);

// Cameras in software and what a test attaches live in this process alone.
int softboard_portSharing(int board, int port) {
    using namespace softboard;
    BoardConfiguration configuration;
    std::string error;
    const bool isInterface = port >= 0 && port < kPorts &&
                             Hardware::instance().configuration(board, configuration, error) &&
                             !configuration.ports[static_cast<std::size_t>(port)].interface.interface.empty();
    return isInterface ? PORT_SHARED : PORT_PRIVATE;
}
