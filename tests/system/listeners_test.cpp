// What a listener may do with the handle of its camera, and with the device behind it, in whichever thread it
// is called.
#include "api/handles.h"
#include "genicam/nodes/node_interfaces.h"
#include "liomol/signals.h"
#include "support/events.h"
#include "system/session.h"
#include "util/qt_locks.h"

#include <functional>

namespace {

using tavo::ImplGenICamCamera;
using Signals = tavo::ImplGenICamIntegerInterfaceSignals;

enum class Occasion { Value, Retrieving, Retrieved, Control, Connecting };
const char* const kOccasions[] = {"value", "retrieving", "retrieved", "control", "connecting"};

// Of the camera, as the first connection has got it; while a retrieval is under way a device has none to
// give.
std::string& description() {
    static std::string text;
    return text;
}

void retrieve(ImplGenICamCamera& device) {
    const std::string& text = description();
    char* const owned = new char[text.size()];
    text.copy(owned, text.size());
    device.retrieveRegisterDescriptionFromMemory(owned);
}

struct Deed {
    const char* name;
    bool frees;
    // Of a listener in the thread that connects, or that retrieves a description: no change of a connection
    // lets another one in, and nobody waits for a description where one is announced.
    int connecting, retrieving;
    std::function<int(CameraHandle* camera)> act;
};
const Deed kDeeds[] = {
    {"disconnect", false, GBE_ERROR_CAMERA_BUSY, 0, &Gbe_disconnectCamera},
    {"connect again", false, GBE_ERROR_CAMERA_BUSY, GBE_ERROR_XML_READ,
     [](CameraHandle* camera) {
         const int result = Gbe_disconnectCamera(camera);
         return result != 0 ? result : Gbe_connectCamera(camera);
     }},
    {"free", true, 0, 0,
     [](CameraHandle* camera) { // within a change it is done at the end of that
         Gbe_freeCamera(camera);
         return 0;
     }},
    {"replace the tree twice and wait", false, 0, 0,
     [](CameraHandle* camera) {
         retrieve(*camera->device());
         retrieve(*camera->device());
         camera->device()->waitForConnection();
         return 0;
     }},
    {"switch behaviour", false, 0, 0,
     [](CameraHandle* camera) { return camera->device()->enableStandardBehaviour(true) ? 0 : 1; }},
    {"stop all threads", false, 0, 0,
     [](CameraHandle* camera) {
         camera->device()->stopAsyncMethods();
         camera->device()->enablePolling(false);
         camera->device()->enableSignalling(false);
         return 0;
     }},
};

// Whoever listens from then on does not hear of a retrieval before.
CameraHandle* connect(const Session& session) {
    CameraHandle* camera = nullptr;
    EXPECT_EQ(Gbe_getFirstCamera(session.board(), 0, &camera), 0);
    EXPECT_EQ(Gbe_connectCamera(camera), 0);
    if (description().empty()) {
        description().resize(camera->device()->getXmlDataSize());
        camera->device()->copyXmlData(description().data());
    }
    static std::atomic<int> heard; // static: of an order that Qt makes the sanitizer sees nothing
    heard = 0;
    const auto connection = [&] {
        const util::InsideQt quiet; // what it keeps of a connection is ordered by a lock inside Qt
        return QObject::connect(
            camera->device(), &ImplGenICamCamera::signal_StateChanged,
            [](ImplGenICamCamera*, ImplGenICamCamera::CameraState state) {
                heard = state == ImplGenICamCamera::Retrieving ? 1 : 2 * heard;
            });
    }();
    retrieve(*camera->device());
    EXPECT_TRUE(eventuallyHeard([] { return heard == 2; }));
    QObject::disconnect(connection);
    return camera;
}

// A camera with one listener that does the deed once, and one that hears of a node only later.
class Trial {
public:
    Trial(const Session& session, Occasion occasion, const Deed& deed, Qt::ConnectionType type)
        : m_occasion(occasion), m_deed(deed), m_camera(connect(session)),
          m_expected(
              type != Qt::DirectConnection       ? 0
              : occasion == Occasion::Connecting ? deed.connecting
              : occasion == Occasion::Retrieving ? deed.retrieving
                                                 : 0) {
        ImplGenICamCamera& device = *m_camera->device();
        QObject::connect(
            width().getIntegerSignals(), &Signals::signal_ValueChanged, &m_receiver,
            [this](tavo::ImplGenICamIntegerInterface* node, std::int64_t) {
                EXPECT_EQ(node->getName(), "Width"); // it is still there
                m_heardLate = true;
            },
            Qt::QueuedConnection);
        QObject::connect(
            width().getIntegerSignals(), &Signals::signal_ValueChanged, &m_receiver,
            [this] { act(Occasion::Value); }, type);
        QObject::connect(
            &device, &ImplGenICamCamera::signal_StateChanged, &m_receiver,
            [this](ImplGenICamCamera* told, ImplGenICamCamera::CameraState state) {
                told->getState(); // as well
                if (state == ImplGenICamCamera::Connected) {
                    act(Occasion::Retrieved); // whoever connects may be done by now
                } else {
                    act(Occasion::Retrieving);
                    act(Occasion::Connecting);
                }
            },
            type);
        QObject::connect(
            &device, &ImplGenICamCamera::signal_ControlChanged, &m_receiver,
            [this] { act(Occasion::Control); }, type);
        device.enableSignalling(true);
        device.enablePolling(true);
    }

    void run() {
        m_armed = true;
        if (m_occasion == Occasion::Value) {
            Gbe_setIntegerValue(m_camera, "Width", 7);
        } else if (m_occasion == Occasion::Control) {
            const auto device = m_camera->sharedDevice();
            m_camera->heartbeat->setPeriod(0);
            device->noteControlLoss(tavo::ControlLoss::TakenOver); // the heartbeat announces it
        } else if (m_occasion == Occasion::Connecting) {
            EXPECT_EQ(Gbe_disconnectCamera(m_camera), 0);
            EXPECT_EQ(Gbe_connectCamera(m_camera), 0);
        } else if (m_deed.connecting != 0 || m_deed.frees) {
            Gbe_enableStandardBehaviour(m_camera, 1);
        } else {
            retrieve(*m_camera->device());
        }
        ASSERT_TRUE(eventuallyHeard([this] { return m_done.load(); }));
        EXPECT_TRUE(m_occasion != Occasion::Value || eventuallyHeard([this] { return m_heardLate; }));
        if (!m_deed.frees) {
            goOn();
        }
    }

private:
    tavo::ImplGenICamIntegerInterface& width() const {
        return dynamic_cast<tavo::ImplGenICamIntegerInterface&>(*m_camera->device()->getNodeByName("Width"));
    }

    void act(Occasion occasion) {
        if (occasion == m_occasion && m_armed.exchange(false)) {
            EXPECT_EQ(m_deed.act(m_camera), m_expected);
            m_done = true;
        }
    }

    // The handle and its device are as good as new.
    void goOn() {
        EXPECT_EQ(Gbe_disconnectCamera(m_camera), 0);
        EXPECT_EQ(Gbe_connectCamera(m_camera), 0);
        std::atomic<std::int64_t> heard = 0;
        QObject::connect(
            width().getIntegerSignals(), &Signals::signal_ValueChanged,
            [&](tavo::ImplGenICamIntegerInterface*, std::int64_t value) { heard = value; });
        m_camera->device()->enableSignalling(true);
        EXPECT_EQ(Gbe_setIntegerValue(m_camera, "Width", 9), 0);
        EXPECT_TRUE(eventuallyHeard([&] { return heard == 9; }));
        Gbe_freeCamera(m_camera);
    }

    const Occasion m_occasion;
    const Deed& m_deed;
    CameraHandle* const m_camera; // may be gone
    const int m_expected;
    std::atomic<bool> m_armed = false;
    std::atomic<bool> m_done = false;
    bool m_heardLate = false;
    QObject m_receiver; // goes first
};

TEST(Listeners, MayDoAnything) {
    Session session;
    const auto station = session.rig.hang(0, 0, plainCamera());
    ASSERT_EQ(Gbe_scanNetwork(session.board(), 0, 0), 0);
    for (const auto type : {Qt::DirectConnection, Qt::QueuedConnection}) {
        for (const Deed& deed : kDeeds) {
            for (const auto occasion :
                 {Occasion::Value, Occasion::Retrieving, Occasion::Retrieved, Occasion::Control,
                  Occasion::Connecting}) {
                SCOPED_TRACE(
                    std::string(kOccasions[static_cast<int>(occasion)]) + ", " + deed.name +
                    (type == Qt::QueuedConnection ? ", queued" : ", direct"));
                station->pokeRegister(plain::kWidth, 0);
                Trial(session, occasion, deed, type).run();
            }
        }
    }
}

} // namespace
