// Whatever a listener does, in whichever thread it is called: nothing crashes, nothing waits for itself.
#include "genicam/device_fixture.h"
#include "liomol/signals.h"
#include "support/events.h"

#include <QtCore/QCoreApplication>

#include <thread>

namespace test_support {
namespace {

using tavo::ImplGenICamCamera;
using tavo::ImplGenICamInteger;
using IntegerSignals = tavo::ImplGenICamIntegerInterfaceSignals;

const std::string kDescription =
    inRoot("<Integer Name='Width'><pValue>WidthReg</pValue></Integer>" + reg("WidthReg", 0, 4));

void retrieve(ImplGenICamCamera& camera) {
    camera.retrieveRegisterDescriptionFromMemory(ownedText(kDescription));
}

struct Deed {
    const char* name;
    bool destroys;
    void (*act)(ImplGenICamCamera& camera);
};
const Deed kDeeds[] = {
    {"replace the tree", false, &retrieve},
    {"replace it twice and wait", false,
     [](ImplGenICamCamera& camera) {
         retrieve(camera);
         retrieve(camera);
         camera.waitForConnection();
     }},
    {"switch behaviour", false,
     [](ImplGenICamCamera& camera) { EXPECT_TRUE(camera.enableStandardBehaviour(true)); }},
    {"stop all threads", false,
     [](ImplGenICamCamera& camera) {
         camera.stopAsyncMethods();
         camera.enablePolling(false);
         camera.enableSignalling(false);
     }},
    {"have it deleted", true, [](ImplGenICamCamera& camera) { camera.deleteLater(); }},
    {"delete it", true, [](ImplGenICamCamera& camera) { delete &camera; }},
};

enum class Occasion { Value, Retrieving, Connected, Control };
const char* const kOccasions[] = {"value", "retrieving", "connected", "control"};

// A device with one listener that does the deed once, and one that hears of a node only later.
class Trial {
public:
    Trial(Occasion occasion, const Deed& deed, Qt::ConnectionType type)
        : m_occasion(occasion), m_deed(deed), m_queued(type == Qt::QueuedConnection) {
        m_camera->setPort(&m_port, "Device");
        retrieveAndHear();
        m_camera->enableSignalling(true);
        m_camera->enablePolling(true);
        const util::InsideQt quiet; // the last StateChanged of the retrieval may still be under way
        QObject::connect(m_camera, &QObject::destroyed, [this] { m_destroyed = true; });
        IntegerSignals* const values = width().getIntegerSignals();
        QObject::connect(
            values, &IntegerSignals::signal_ValueChanged, &m_receiver,
            [this](tavo::ImplGenICamIntegerInterface* node, std::int64_t) { hearLate(*node); },
            Qt::QueuedConnection);
        QObject::connect(
            values, &IntegerSignals::signal_ValueChanged, &m_receiver, [this] { act(Occasion::Value); },
            type);
        QObject::connect(
            m_camera, &ImplGenICamCamera::signal_StateChanged, &m_receiver,
            [this](ImplGenICamCamera*, ImplGenICamCamera::CameraState state) {
                act(state == ImplGenICamCamera::Connected ? Occasion::Connected : Occasion::Retrieving);
            },
            type);
        QObject::connect(
            m_camera, &ImplGenICamCamera::signal_ControlChanged, &m_receiver,
            [this] { act(Occasion::Control); }, type);
    }

    void run() {
        m_armed = true;
        if (m_occasion == Occasion::Value) {
            width().setValue(7);
        } else if (m_occasion == Occasion::Control) {
            m_camera->noteControlLoss(tavo::ControlLoss::TakenOver);
            m_camera->announceControlLoss();
        } else {
            retrieve(*m_camera);
        }
        ASSERT_TRUE(m_queued ? eventuallyHeard([this] { return m_done.load(); }) : eventually([this] {
            return m_done.load();
        }));
        if (m_deed.destroys) {
            ASSERT_TRUE(eventuallyHeard([this] { return m_destroyed.load(); }));
        } else {
            goOn();
        }
        ASSERT_TRUE(m_occasion != Occasion::Value || eventuallyHeard([this] { return m_heardLate > 0; }));
    }

private:
    // Whoever connects after this does not hear of this retrieval any more.
    void retrieveAndHear() {
        std::atomic<bool> heard = false;
        const auto connection = QObject::connect(
            m_camera, &ImplGenICamCamera::signal_StateChanged,
            [&heard](ImplGenICamCamera*, ImplGenICamCamera::CameraState state) {
                heard = state == ImplGenICamCamera::Connected;
            });
        retrieve(*m_camera);
        EXPECT_TRUE(eventuallyHeard([&heard] { return heard.load(); }));
        QObject::disconnect(connection);
    }

    ImplGenICamInteger& width() {
        return dynamic_cast<ImplGenICamInteger&>(*m_camera->getNodeByName("Width"));
    }

    void act(Occasion occasion) {
        if (occasion == m_occasion && m_armed.exchange(false)) {
            m_deed.act(*m_camera);
            m_done = true;
        }
    }

    void hearLate(tavo::ImplGenICamIntegerInterface& node) {
        EXPECT_EQ(node.getName(), "Width");
        try {
            node.getValue();
        } catch (const tavo::GenICamException& gone) {
            EXPECT_EQ(gone.getErrno(), status::PortNotAvailable);
        }
        ++m_heardLate;
    }

    // The device is as good as new.
    void goOn() {
        retrieve(*m_camera);
        ASSERT_EQ(m_camera->waitForConnection(), 1);
        std::atomic<std::int64_t> heard = 0;
        QObject::connect(
            width().getIntegerSignals(), &IntegerSignals::signal_ValueChanged,
            [&](tavo::ImplGenICamIntegerInterface*, std::int64_t value) { heard = value; });
        m_camera->enableSignalling(true);
        width().setValue(9);
        EXPECT_TRUE(eventuallyHeard([&] { return heard == 9; }));
        delete m_camera;
    }

    const Occasion m_occasion;
    const Deed& m_deed;
    const bool m_queued;
    MemoryPort m_port;
    ImplGenICamCamera* const m_camera = new ImplGenICamCamera; // may be gone
    std::atomic<bool> m_armed = false;
    std::atomic<bool> m_done = false;
    std::atomic<bool> m_destroyed = false;
    int m_heardLate = 0;
    QObject m_receiver; // goes first
};

TEST(Listeners, MayDoAnything) {
    for (const auto type : {Qt::DirectConnection, Qt::QueuedConnection}) {
        for (const Deed& deed : kDeeds) {
            for (const auto occasion :
                 {Occasion::Value, Occasion::Retrieving, Occasion::Connected, Occasion::Control}) {
                SCOPED_TRACE(
                    std::string(kOccasions[static_cast<int>(occasion)]) + ", " + deed.name +
                    (type == Qt::QueuedConnection ? ", queued" : ", direct"));
                Trial(occasion, deed, type).run();
            }
        }
    }
}

// A listener has the description retrieved again just when the application does.
TEST(Listeners, RetrieveBesideTheApplication) {
    ImplGenICamCamera camera;
    std::atomic<bool> armed = false;
    QObject::connect(
        &camera, &ImplGenICamCamera::signal_StateChanged,
        [&](ImplGenICamCamera*, ImplGenICamCamera::CameraState state) {
            if (state == ImplGenICamCamera::Connected && armed.exchange(false)) {
                retrieve(camera);
            }
        });
    camera.enableSignalling(true);
    for (int round = 0; round < 500; ++round) {
        armed = true;
        retrieve(camera);
        while (armed) {
            std::this_thread::yield();
        }
        retrieve(camera);
        ASSERT_EQ(camera.waitForConnection(), 1);
    }
}

// Trees that nobody can be told of any more go; those of a thread without an event loop are bounded.
TEST(Listeners, DoNotKeepTreesForEver) {
    ImplGenICamCamera camera;
    std::vector<std::weak_ptr<tavo::NodeTree>> trees;
    const auto alive = [&] {
        return std::ranges::count_if(trees, [](const auto& tree) { return !tree.expired(); });
    };
    for (int round = 0; round < 40; ++round) {
        retrieve(camera);
        ASSERT_EQ(camera.waitForConnection(), 1);
        dynamic_cast<ImplGenICamInteger&>(*camera.getNodeByName("Width")).getIntegerSignals();
        trees.push_back(camera.holdTree());
    }
    EXPECT_LE(alive(), 17);
    EXPECT_GT(alive(), 1);
    EXPECT_TRUE(eventuallyHeard([&] { return alive() == 1; }));
}

} // namespace
} // namespace test_support
