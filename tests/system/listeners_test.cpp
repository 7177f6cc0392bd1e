// What a listener may do with the handle of its camera, in whichever thread it is called.
#include "api/handles.h"
#include "genicam/nodes/node_interfaces.h"
#include "liomol/signals.h"
#include "support/events.h"
#include "system/session.h"

#include <QtCore/QCoreApplication>

namespace {

using tavo::ImplGenICamCamera;
using Signals = tavo::ImplGenICamIntegerInterfaceSignals;

enum class Occasion { Value, State, Control, Connecting };
const char* const kOccasions[] = {"value", "state", "control", "connecting"};

enum class Deed { Disconnect, Reconnect, Free };
const char* const kDeeds[] = {"disconnect", "connect again", "free"};

CameraHandle* connect(const Session& session) {
    CameraHandle* camera = nullptr;
    EXPECT_EQ(Gbe_getFirstCamera(session.board(), 0, &camera), 0);
    EXPECT_EQ(Gbe_connectCamera(camera), 0);
    return camera;
}

class Trial {
public:
    Trial(Session& session, Occasion occasion, Deed deed, Qt::ConnectionType type)
        : m_occasion(occasion), m_deed(deed), m_camera(connect(session)),
          m_isRefused(occasion == Occasion::Connecting && type == Qt::DirectConnection) {
        ImplGenICamCamera& device = *m_camera->device();
        auto& width = dynamic_cast<tavo::ImplGenICamIntegerInterface&>(*device.getNodeByName("Width"));
        QObject::connect(
            width.getIntegerSignals(), &Signals::signal_ValueChanged, &m_receiver,
            [this](tavo::ImplGenICamIntegerInterface* node, std::int64_t) {
                EXPECT_EQ(node->getName(), "Width");
                act(Occasion::Value);
            },
            type);
        QObject::connect(
            &device, &ImplGenICamCamera::signal_StateChanged, &m_receiver,
            [this](ImplGenICamCamera* told, ImplGenICamCamera::CameraState state) {
                told->getState(); // it is still there
                if (state == ImplGenICamCamera::Connected) {
                    act(Occasion::State);
                    act(Occasion::Connecting);
                }
            },
            type);
        QObject::connect(
            &device, &ImplGenICamCamera::signal_ControlChanged, &m_receiver,
            [this] { act(Occasion::Control); }, type);
        device.enableSignalling(true);
    }

    void run() {
        ImplGenICamCamera& device = *m_camera->device();
        m_armed = true;
        if (m_occasion == Occasion::Value) {
            Gbe_setIntegerValue(m_camera, "Width", 7);
        } else if (m_occasion == Occasion::State) {
            Gbe_enableStandardBehaviour(m_camera, 1);
        } else if (m_occasion == Occasion::Control) {
            device.noteControlLoss(tavo::ControlLoss::TakenOver); // the heartbeat announces it
            m_camera->heartbeat->setPeriod(0);
        } else {
            EXPECT_EQ(Gbe_disconnectCamera(m_camera), 0);
            EXPECT_EQ(Gbe_connectCamera(m_camera), 0);
        }
        ASSERT_TRUE(eventuallyHeard([this] { return m_done.load(); }));
        if (m_deed == Deed::Disconnect) {
            EXPECT_EQ(Gbe_disconnectCamera(m_camera), 0);
            EXPECT_EQ(Gbe_connectCamera(m_camera), 0);
        }
        if (m_deed != Deed::Free) {
            EXPECT_TRUE(eventually([this] { return Gbe_setIntegerValue(m_camera, "Number", 4) == 0; }));
            Gbe_freeCamera(m_camera);
        }
    }

private:
    void act(Occasion occasion) {
        if (occasion != m_occasion || !m_armed.exchange(false)) {
            return;
        }
        const int expected = m_isRefused ? GBE_ERROR_CAMERA_BUSY : 0; // a change within a change
        if (m_deed == Deed::Free) {
            Gbe_freeCamera(m_camera); // and that is done at the end of the change
        } else {
            EXPECT_EQ(Gbe_disconnectCamera(m_camera), expected);
        }
        if (m_deed == Deed::Reconnect) {
            EXPECT_EQ(Gbe_connectCamera(m_camera), expected);
        }
        m_done = true;
    }

    const Occasion m_occasion;
    const Deed m_deed;
    CameraHandle* const m_camera; // may be gone
    const bool m_isRefused;
    std::atomic<bool> m_armed = false;
    std::atomic<bool> m_done = false;
    QObject m_receiver; // goes first
};

TEST(Listeners, MayDisconnectConnectAndFree) {
    Session session;
    const auto station = session.rig.hang(0, 0, plainCamera());
    ASSERT_EQ(Gbe_scanNetwork(session.board(), 0, 0), 0);
    for (const auto type : {Qt::DirectConnection, Qt::QueuedConnection}) {
        for (const auto deed : {Deed::Disconnect, Deed::Reconnect, Deed::Free}) {
            for (const auto occasion :
                 {Occasion::Value, Occasion::State, Occasion::Control, Occasion::Connecting}) {
                SCOPED_TRACE(
                    std::string(kOccasions[static_cast<int>(occasion)]) + ", " +
                    kDeeds[static_cast<int>(deed)] +
                    (type == Qt::QueuedConnection ? ", queued" : ", direct"));
                Trial(session, occasion, deed, type).run();
            }
        }
    }
}

} // namespace
