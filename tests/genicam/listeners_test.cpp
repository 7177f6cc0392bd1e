// Whatever a listener does, in whichever thread it is called: nothing crashes, nothing waits for itself.
#include "genicam/device_fixture.h"
#include "liomol/signals.h"
#include "support/events.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

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

// What is queued for a thread names a node that stays, when that thread itself has asked for the signals.
TEST(Listeners, InAThirdThreadFindTheNodesOfAReplacedTree) {
    MemoryPort port;
    ImplGenICamCamera camera;
    camera.setPort(&port, "Device");
    retrieve(camera);
    ASSERT_EQ(camera.waitForConnection(), 1);
    std::weak_ptr<tavo::NodeTree> tree = camera.holdTree();
    auto& width = dynamic_cast<ImplGenICamInteger&>(*camera.getNodeByName("Width"));
    std::atomic<bool> connected = false, queued = false, replaced = false;
    std::thread third([&] {
        QEventLoop loop; // the thread has events from now on
        QObject receiver;
        int heard = 0;
        IntegerSignals* const values = width.getIntegerSignals();
        QObject::connect(
            values, &IntegerSignals::signal_ValueChanged, &receiver,
            [&heard](auto* node, std::int64_t) { heard += node->getName() == "Width" ? 1 : 0; },
            Qt::QueuedConnection);
        QObject::connect(values, &IntegerSignals::signal_ValueChanged, [&queued] { queued = true; });
        connected = true;
        EXPECT_TRUE(eventually([&] { return replaced.load(); }));
        EXPECT_FALSE(tree.expired());
        EXPECT_TRUE(eventuallyHeard([&] { return heard == 1 && tree.expired(); }));
    });
    EXPECT_TRUE(eventually([&] { return connected.load(); }));
    camera.notifyNodeHasBeenInvalidated(&width, true);
    camera.enableSignalling(true);
    EXPECT_TRUE(eventually([&] { return queued.load(); }));
    retrieve(camera);
    EXPECT_EQ(camera.waitForConnection(), 1);
    processEvents();
    replaced = true;
    third.join();
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
