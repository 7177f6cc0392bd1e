// Sets a camera's width and sets it back, and sees each change once, through Qt signals.
//   qt_signals [board [port]]
#include <liomol/GenICamDevice.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kDeadlineMs = 30000;

using FreeBoard = decltype([](BoardHandle* board) { Gbe_freeBoard(board); });
using FreeCamera = decltype([](CameraHandle* camera) { Gbe_freeCamera(camera); }); // disconnects too

void check(int code) {
    if (code != GBE_SUCCESS) {
        throw std::runtime_error(
            std::string(Gbe_getErrorDescription(code)) + ": " + Gbe_getLastErrorDetail());
    }
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

void watchWidth(CameraHandle* camera) {
    tavo::GenICamCamera& device = *tavo::getGenICamInterface(camera);
    tavo::GenICamIntegerInterface& width = *device.getNodeByName("Width")->asInteger();
    const std::int64_t before = width.getValue();
    const std::int64_t other = before != width.getMin() ? width.getMin() : before + width.getInc();
    if (changesOf(device, width, {other, before}) != std::vector<std::int64_t>{other, before}) {
        throw std::runtime_error("the changes that were told are not those that were made");
    }
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const unsigned port = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 0;
    try {
        BoardHandle* board = nullptr;
        check(Gbe_initBoard(argc > 1 ? std::atoi(argv[1]) : 0, 0, &board));
        const std::unique_ptr<BoardHandle, FreeBoard> boardOwner(board);
        check(Gbe_scanNetwork(board, static_cast<int>(port), 0));
        CameraHandle* camera = nullptr;
        check(Gbe_getFirstCamera(board, port, &camera));
        const std::unique_ptr<CameraHandle, FreeCamera> cameraOwner(camera);
        check(Gbe_connectCamera(camera));
        watchWidth(camera);
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", failure.what(), Gbe_getLastErrorDetail());
        return 1;
    }
}
