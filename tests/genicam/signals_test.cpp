// What listeners hear of changes, and the threads that tell them.
#include "genicam/device_fixture.h"
#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "liomol/signals.h"
#include "support/events.h"

#include <gmock/gmock.h>

#include <QtCore/QThread>

#include <thread>

namespace test_support {
namespace {

using tavo::ImplGenICamCamera;
using tavo::ImplGenICamCommandInterface;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntegerInterface;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamStringInterface;
using tavo::ImplGenICamStringReg;
using IntegerSignals = tavo::ImplGenICamIntegerInterfaceSignals;
using testing::ElementsAre;

// Notes what a register that is an integer tells, in order, when its update is run by hand.
struct Heard : Device {
    explicit Heard(Cache cache = Cache::WriteThrough) : node(addRegister<ImplGenICamIntReg>(0, 2, cache)) {
        using Node = tavo::ImplGenICamNodeInterfaceSignals;
        using Register = tavo::ImplGenICamRegisterInterfaceSignals;
        note(node.getNodeSignals(), &Node::signal_ImplementationStateChanged, "implemented");
        note(node.getNodeSignals(), &Node::signal_AvailabilityStateChanged, "available");
        note(node.getNodeSignals(), &Node::signal_LockStateChanged, "locked");
        note(node.getRegisterSignals(), &Register::signal_RegisterAddressChanged, "address");
        note(node.getRegisterSignals(), &Register::signal_RegisterLengthChanged, "length");
        note(node.getRegisterSignals(), &Register::signal_RegisterContentChanged, "content");
        note(node.getIntegerSignals(), &IntegerSignals::signal_ValueChanged, "value");
        note(node.getIntegerSignals(), &IntegerSignals::signal_MinChanged, "min");
        note(node.getIntegerSignals(), &IntegerSignals::signal_MaxChanged, "max");
        note(node.getIntegerSignals(), &IntegerSignals::signal_IncChanged, "inc");
    }

    template<class Sender, class Signal> void note(Sender* sender, Signal signal, const char* name) {
        QObject::connect(
            sender, signal, [this, name] { told += (told.empty() ? "" : " ") + std::string(name); });
    }

    std::string update(bool force = false) {
        told.clear();
        node.performSignalUpdate(force);
        return told;
    }

    ImplGenICamIntReg& node;
    std::string told;
};

TEST(SignalUpdate, ForcedTellsAllInItsOrderAndNormalOnlyWhatDiffers) {
    Heard heard;
    EXPECT_EQ(heard.update(true), "implemented available locked address length content value min max inc");
    heard.update(); // the content that the forced update read
    EXPECT_EQ(heard.update(), "");
    heard.node.setValue(3);
    EXPECT_EQ(heard.update(), "content value");
    heard.node.setValue(3);
    EXPECT_EQ(heard.update(), "content") << "a write is news of the content, not of the value";
    heard.node.setLength(4);
    EXPECT_EQ(heard.update(), "length min max");
    heard.update();
    heard.expect("!stale; @0=06; !fail");
    EXPECT_EQ(heard.update(), "") << "what cannot be read is passed over until it can";
    heard.expect("!heal");
    EXPECT_EQ(heard.update(), "value");
}

TEST(SignalUpdate, ContentOfVolatileRegistersIsToldOnlyWhenForced) {
    Heard heard(Cache::NoCache);
    heard.update(true);
    heard.node.setValue(5);
    EXPECT_EQ(heard.update(), "value");
    EXPECT_THAT(heard.update(true), testing::HasSubstr("content"));
    Device unheard(inRoot(reg("N", 0, 4)));
    unheard.node("N").performSignalUpdate(true);
    EXPECT_EQ(unheard.port.reads, 0) << "nothing is read that nobody listens to";
}

TEST(SignalUpdate, ReportsCauseNoReports) {
    Device device(inRoot(reg("V", 0, 1, caching("NoCache", 0)) + reg("N", 0, 1)));
    device.as<ImplGenICamIntReg>("V").getIntegerSignals();
    device.expect("V -> 0; N -> 0; @0=06");
    device.node("V").performSignalUpdate(false);
    EXPECT_FALSE(tavo::ChangeQueue::holds(device.node("N"), false));
    device.expect("N -> 6; @0=07; V -> 7");
    EXPECT_TRUE(tavo::ChangeQueue::holds(device.node("N"), false)) << "other reads do";
}

TEST(SignalUpdate, ANodeWaitsOnce) {
    Device device(inRoot(integer("First") + integer("Second")));
    tavo::ChangeQueue queue;
    queue.add(device.node("First"), false);
    queue.add(device.node("First"), true);
    queue.add(device.node("Second"), false);
    EXPECT_TRUE(queue.take().trigger) << "the second notice is told with the first";
    EXPECT_EQ(queue.take().node, &device.node("Second"));
}

// ---- With the device's threads ----

const std::string kDescription = inRoot(
    "<Integer Name='Width'><pValue>WidthReg</pValue></Integer><Integer Name='Other'/>"
    "<IntReg Name='Secret'><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort></IntReg>"
    "<Command Name='Start'><pValue>StartReg</pValue><CommandValue>1</CommandValue></Command>" +
    reg("WidthReg", 0, 4, "<Sign>Unsigned</Sign>") + reg("Text", 8, 4, "", "StringReg") +
    reg("StartReg", 16, 4, caching("NoCache", 0)));

struct Connected {
    Connected() {
        camera->setPort(&port, "Device");
        retrieve();
    }
    void retrieve() {
        camera->retrieveRegisterDescriptionFromMemory(ownedText(kDescription));
        if (camera->waitForConnection() != 1) {
            throw std::runtime_error("not connected");
        }
    }
    template<class Node> Node& node(const char* name) {
        return dynamic_cast<Node&>(*camera->getNodeByName(name));
    }
    ImplGenICamInteger& width() { return node<ImplGenICamInteger>("Width"); }
    ImplGenICamInteger& other() { return node<ImplGenICamInteger>("Other"); }

    // Calls `action` with each value that the node reports, in the thread that reports it.
    template<class Action> void onValue(ImplGenICamInteger& node, Action action) {
        QObject::connect(
            node.getIntegerSignals(), &IntegerSignals::signal_ValueChanged,
            [action](ImplGenICamIntegerInterface*, std::int64_t value) { action(value); });
    }

    MemoryPort port;
    std::unique_ptr<ImplGenICamCamera> camera = std::make_unique<ImplGenICamCamera>();
};

// A listener that lives in the test's thread and connects by name.
class Listener : public QObject {
    Q_OBJECT
public:
    std::vector<std::int64_t> values;
    std::vector<QString> texts;
    QThread* thread = nullptr;

public Q_SLOTS:
    void value(ImplGenICamIntegerInterface*, int64_t news) {
        thread = QThread::currentThread();
        values.push_back(news);
    }
    void text(ImplGenICamStringInterface*, const QString& news) { texts.push_back(news); }
};

TEST(Signalling, EachChangeIsHeardOnceWhoeverCausedIt) {
    Connected device;
    auto& text = device.node<ImplGenICamStringReg>("Text");
    Listener listener;
    ASSERT_TRUE(QObject::connect(
        device.width().getIntegerSignals(),
        SIGNAL(signal_ValueChanged(ImplGenICamIntegerInterface*, int64_t)), &listener,
        SLOT(value(ImplGenICamIntegerInterface*, int64_t))));
    ASSERT_TRUE(QObject::connect(
        text.getStringSignals(), SIGNAL(signal_ValueChanged(ImplGenICamStringInterface*, QString)), &listener,
        SLOT(text(ImplGenICamStringInterface*, QString))));
    // Told after the event was posted; ThreadSanitizer does not see Qt's own order of posting and taking it.
    std::atomic<std::int64_t> posted = 0;
    std::atomic<QThread*> signallingThread = nullptr;
    device.onValue(device.width(), [&](std::int64_t value) {
        signallingThread = QThread::currentThread();
        posted = value;
    });
    device.camera->enableSignalling(true);
    for (std::int64_t value = 1; value <= 20; ++value) {
        device.node<ImplGenICamIntReg>("WidthReg").setValue(value); // below the feature that is listened to
        ASSERT_TRUE(eventually([&] { return posted == value; }));
        ASSERT_TRUE(
            eventuallyHeard([&] { return !listener.values.empty() && listener.values.back() == value; }));
        EXPECT_EQ(listener.values.size(), static_cast<std::size_t>(value));
    }
    QObject::connect(
        text.getStringSignals(), &tavo::ImplGenICamStringInterfaceSignals::signal_ValueChanged,
        [&] { posted = -1; });
    text.setValue("abc");
    ASSERT_TRUE(eventually([&] { return posted == -1; }));
    ASSERT_TRUE(eventuallyHeard([&] { return !listener.texts.empty(); }));
    EXPECT_THAT(listener.texts, ElementsAre(QString::fromStdString(std::string("abc\0", 4))));
    EXPECT_EQ(listener.thread, QThread::currentThread());
    EXPECT_NE(signallingThread, QThread::currentThread());
}

TEST(Signalling, TheLastOfManyChangesIsNeverLost) {
    Connected device;
    std::atomic<std::int64_t> heard = -1;
    device.onValue(device.width(), [&](std::int64_t value) { heard = value; });
    device.camera->enableSignalling(true);
    for (int round = 0; round < 50; ++round) {
        for (int i = 0; i < 40; ++i) {
            device.width().setValue(round * 1000 + i);
        }
        ASSERT_TRUE(eventuallyHeard([&] { return heard == round * 1000 + 39; }))
            << round << " heard " << heard;
    }
}

TEST(Signalling, NoticesCollapseAndWaitUntilItIsSwitchedOn) {
    Connected device;
    auto& width = device.width();
    std::atomic<int> values = 0;
    std::atomic<int> mins = 0;
    std::atomic<bool> last = false;
    device.onValue(width, [&](std::int64_t) { ++values; });
    device.onValue(device.other(), [&](std::int64_t) { last = true; });
    QObject::connect(width.getIntegerSignals(), &IntegerSignals::signal_MinChanged, [&] { ++mins; });
    width.performSignalUpdate(true);
    values = mins = 0;
    for (int i = 0; i < 5; ++i) {
        device.camera->notifyNodeHasBeenInvalidated(&width, i == 2);
    }
    device.node<ImplGenICamIntReg>("Secret").setValue(1); // write-only: never queued
    EXPECT_EQ(values, 0);
    device.other().setValue(1); // behind the others
    device.camera->enableSignalling(true);
    ASSERT_TRUE(eventuallyHeard([&] { return last.load(); }));
    EXPECT_EQ(values, 1);
    EXPECT_EQ(mins, 1) << "one of the notices was to tell all";
}

TEST(Signalling, AFailingCameraIsNotAskedForEver) {
    Connected device;
    std::atomic<int> rounds = 0;
    device.width().getIntegerSignals();
    device.node<ImplGenICamIntReg>("WidthReg").getIntegerSignals();
    device.onValue(device.other(), [&](std::int64_t) { ++rounds; });
    device.camera->enableSignalling(true);
    device.port.failing = true;
    device.camera->invalidateAllNodes();
    for (int i = 1; i <= 5; ++i) {
        device.other().setValue(i); // queued behind whatever the failures left
        ASSERT_TRUE(eventuallyHeard([&] { return rounds >= i; }));
    }
    EXPECT_LE(device.port.reads, 4);
}

TEST(Signalling, PollingTellsThatACommandIsDone) {
    Connected device;
    auto& start = device.node<tavo::ImplGenICamCommand>("Start");
    std::atomic<int> active = 0;
    std::atomic<int> done = 0;
    QObject::connect(
        start.getCommandSignals(), &tavo::ImplGenICamCommandInterfaceSignals::signal_IsDoneValueChanged,
        [&](ImplGenICamCommandInterface*, bool isDone) { ++(isDone ? done : active); });
    device.camera->setPollingSleepTime(20);
    device.camera->enablePolling(true);
    device.camera->enableSignalling(true);
    ASSERT_TRUE(eventuallyHeard([&] { return done == 1; }));
    start.execute();
    ASSERT_TRUE(eventuallyHeard([&] { return active == 1; }));
    {
        const tavo::DeviceLockScope camera(&device.camera->tree());
        device.port.memory[16] = 0;
    }
    ASSERT_TRUE(eventuallyHeard([&] { return done == 2; }));
    device.camera->setPollingSleepTime(3600 * 1000);
    device.camera->enablePolling(false);
    EXPECT_FALSE(device.camera->isPollingEnabled());
}

// ---- Ends ----

TEST(Teardown, WhileAListenerCallsBackIntoTheDevice) {
    for (int round = 0; round < 20; ++round) {
        Connected device;
        auto& width = device.width();
        auto& other = device.other();
        std::atomic<int> calls = 0;
        device.onValue(width, [&](std::int64_t value) {
            other.setValue(value);
            width.setValue(value + 1); // keeps the thread busy for ever
            ++calls;
        });
        device.camera->enableSignalling(true);
        device.camera->enablePolling(true);
        width.setValue(1);
        ASSERT_TRUE(eventuallyHeard([&] { return calls > round; }));
        device.camera.reset();
    }
}

TEST(Signalling, GoesOnWithTheNextDescriptionWhileTheHeartbeatDoes) {
    Connected device;
    device.camera = std::make_unique<ImplGenICamCamera>();
    ImplGenICamCamera& camera = *device.camera;
    camera.setPort(&device.port, "Device");
    camera.enableSignalling(true); // a wish from before the first one counts, too
    camera.enablePolling(true);
    device.retrieve();
    std::atomic<bool> stop = false;
    std::atomic<int> beats = 0;
    std::thread heartbeat([&] {
        for (; !stop; ++beats) {
            camera.sendHeartbeat();
        }
    });
    for (int round = 0; round < 20; ++round) {
        const int before = beats;
        std::atomic<int> stale = 0;
        device.onValue(device.width(), [&](std::int64_t) { ++stale; });
        ASSERT_TRUE(camera.enableStandardBehaviour(round % 2 == 0));
        const int staleThen = stale;
        std::atomic<std::int64_t> heard = -1;
        device.onValue(device.width(), [&](std::int64_t value) { heard = value; });
        device.width().setValue(round);
        EXPECT_TRUE(eventuallyHeard([&] { return heard == round && beats > before; }));
        EXPECT_EQ(stale, staleThen) << "of a node that is replaced";
    }
    stop = true;
    heartbeat.join();
}

} // namespace
} // namespace test_support

#include "signals_test.moc"
