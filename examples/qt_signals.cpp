// Sets a camera's width and sets it back, and sees each change once, through Qt signals.
//   qt_signals [board [port]]
#include <liomol/GenICamDevice.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <vector>

namespace {

constexpr int kDeadlineMs = 30000;

struct FreeBoard {
    void operator()(BoardHandle* board) const { Gbe_freeBoard(board); }
};
struct FreeCamera {
    void operator()(CameraHandle* camera) const { Gbe_freeCamera(camera); } // disconnects too
};

bool succeeds(const char* what, int code) {
    if (code != GBE_SUCCESS) {
        std::fprintf(stderr, "%s: %s (%d)\n", what, Gbe_getErrorDescription(code), code);
    }
    return code == GBE_SUCCESS;
}

// The values that were told, in their order, until there are as many as were written.
std::vector<std::int64_t> changesOf(
    tavo::GenICamCamera& device, tavo::GenICamIntegerInterface& width, std::vector<std::int64_t> writes) {
    std::vector<std::int64_t> seen;
    std::size_t written = 0;
    const auto writeNext = [&] { width.setValue(writes.at(written++)); };
    // The application's thread is named as the receiver, so the signals come to it and not to the device's
    // thread.
    QObject::connect(
        width.getIntegerSignals(), &tavo::ImplGenICamIntegerInterfaceSignals::signal_ValueChanged, qApp,
        [&](tavo::ImplGenICamIntegerInterface*, std::int64_t value) {
            std::printf("%s is now %lld\n", width.getName().c_str(), static_cast<long long>(value));
            seen.push_back(value);
            seen.size() < writes.size() ? writeNext() : QCoreApplication::quit();
        });
    device.enableSignalling(true);
    QTimer::singleShot(0, qApp, writeNext);
    QTimer::singleShot(kDeadlineMs, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    device.enableSignalling(false);
    return seen;
}

bool watchWidth(CameraHandle* camera) {
    tavo::GenICamCamera* const device = tavo::getGenICamInterface(camera);
    tavo::GenICamNode* const node = device->getNodeByName("Width");
    tavo::GenICamIntegerInterface* const width = node != nullptr ? node->asInteger() : nullptr;
    if (width == nullptr) {
        std::fprintf(stderr, "the camera has no Width\n");
        return false;
    }
    const std::int64_t before = width->getValue();
    const std::int64_t other = before != width->getMin() ? width->getMin() : before + width->getInc();
    return changesOf(*device, *width, {other, before}) == std::vector<std::int64_t>{other, before};
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const int number = argc > 1 ? std::atoi(argv[1]) : 0;
    const unsigned port = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 0;
    BoardHandle* opened = nullptr;
    if (!succeeds("opening the board", Gbe_initBoard(number, 0, &opened))) {
        return 1;
    }
    const std::unique_ptr<BoardHandle, FreeBoard> board(opened);
    CameraHandle* found = nullptr;
    if (!succeeds("scanning", Gbe_scanNetwork(opened, static_cast<int>(port), 0)) ||
        !succeeds("looking for a camera", Gbe_getFirstCamera(opened, port, &found))) {
        return 1;
    }
    const std::unique_ptr<CameraHandle, FreeCamera> camera(found);
    if (!succeeds("connecting", Gbe_connectCamera(found))) {
        return 1;
    }
    try {
        return watchWidth(found) ? 0 : 1;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
