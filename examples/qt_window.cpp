// A window in which one changes a camera's Width and sees at once what becomes of its PayloadSize.
//   qt_window [board [port [try]]]   ("try" changes it by itself and ends with the effect)
#include <liomol/GenICamDevice.h>

#include <QtWidgets/QApplication>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QSpinBox>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace {

using FreeBoard = decltype([](BoardHandle* board) { Gbe_freeBoard(board); });
using FreeCamera = decltype([](CameraHandle* camera) { Gbe_freeCamera(camera); }); // disconnects too

void check(int code) {
    if (code != GBE_SUCCESS) {
        throw std::runtime_error(Gbe_getErrorDescription(code));
    }
}

int showWindow(tavo::GenICamCamera& device, bool byItself) {
    tavo::GenICamIntegerInterface& width = *device.getNodeByName("Width")->asInteger();
    tavo::GenICamIntegerInterface& payload = *device.getNodeByName("PayloadSize")->asInteger();
    QWidget window;
    QSpinBox box;
    box.setRange(static_cast<int>(width.getMin()), static_cast<int>(width.getMax()));
    box.setSingleStep(static_cast<int>(width.getInc()));
    box.setValue(static_cast<int>(width.getValue()));
    QLabel size(QString::number(payload.getValue()));
    QFormLayout form(&window);
    form.addRow("Width", &box);
    form.addRow("PayloadSize", &size);
    QObject::connect(&box, QOverload<int>::of(&QSpinBox::valueChanged), &window, [&](int value) {
        try { // no exception may leave a slot
            width.setValue(value);
        } catch (const std::exception& refused) {
            size.setText(refused.what());
        }
    });
    // Named as the receiver, the window gets the signal in its own thread.
    QObject::connect(
        payload.getIntegerSignals(), &tavo::ImplGenICamIntegerInterfaceSignals::signal_ValueChanged, &window,
        [&](tavo::ImplGenICamIntegerInterface*, qint64 value) {
            size.setText(QString::number(value));
            std::printf("PayloadSize is now %lld\n", static_cast<long long>(value));
            byItself ? QApplication::quit() : void();
        });
    device.enableSignalling(true);
    window.show();
    if (byItself) {
        box.value() > box.minimum() ? box.stepDown() : box.stepUp();
    }
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
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
        return showWindow(*tavo::getGenICamInterface(camera), argc > 3);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
