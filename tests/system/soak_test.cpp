// Hours on a bad wire: 32 cameras on eight boards, each used by a thread of the application, over links that
// lose, repeat, mix up and delay frames in both directions. scripts/soak runs it for longer than the suite.
#include "system/session.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <random>
#include <set>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

constexpr int kBoards = 8;
constexpr int kPorts = 4;
constexpr double kFewestGood = 0.95; // of all reads and writes: those with both attempts lost are about 1 %
constexpr int kControlLost =
    GBE_ERROR_CONNECTION;             // a late copy of the command that gave control back took it away
constexpr unsigned kMostFailures = 5; // in a row, before the camera is connected anew

softboard::FaultPlan badWire(unsigned seed) {
    softboard::FaultPlan plan;
    plan.seed = seed;
    plan.send.drop = plan.send.duplicate = plan.send.reorder = 0.05;
    plan.send.delay = 0.2;
    plan.send.delayMin = std::chrono::milliseconds(1);
    plan.send.delayMax = std::chrono::milliseconds(30);
    plan.receive = plan.send;
    return plan;
}

struct Totals {
    std::mutex mutex;
    std::map<std::string, unsigned> calls;   // by call and result; guarded by mutex
    std::atomic<unsigned> good = 0, bad = 0; // reads and writes

    void count(const char* call, int result) {
        const std::lock_guard lock(mutex);
        ++calls[call + std::string(" ") + std::to_string(result)];
    }
};

// One camera and the thread that uses it.
class User {
public:
    User(const Session& session, int board, int port, unsigned seed, Totals& totals)
        : m_session(session), m_board(board), m_port(port), m_totals(totals),
          m_random(seed * 64 + static_cast<unsigned>(board * kPorts + port)) {}

    std::shared_ptr<simcam::Camera> station;

    void run(seconds time) {
        find();
        connect();
        unsigned rounds = 0;
        for (const auto end = Clock::now() + time; Clock::now() < end || rounds == 0; ++rounds) {
            const unsigned choice = m_random() % 100;
            choice < 35 ? writeNumber() : choice < 70 ? readNumber() : choice < 85 ? writeText() : readText();
            if (m_failuresInARow >= kMostFailures || choice == 0) {
                call("disconnect", [&] { return Gbe_disconnectCamera(m_camera); });
                connect();
            }
        }
        call("disconnect", [&] { return Gbe_disconnectCamera(m_camera); });
        Gbe_freeCamera(m_camera);
        EXPECT_GT(rounds, time.count() / 2) << place();
    }

    std::string place() const { return std::to_string(m_board) + "." + std::to_string(m_port); }

private:
    template<typename Call> int call(const char* name, Call&& run) {
        const int result = run();
        m_totals.count(name, result);
        return result;
    }

    void find() {
        BoardHandle* board = m_session.boards[static_cast<std::size_t>(m_board)];
        const auto port = static_cast<unsigned>(m_port);
        do {
            call("scan", [&] { return Gbe_scanNetwork(board, m_port, 0); });
        } while (call("look up", [&] { return Gbe_getFirstCamera(board, port, &m_camera); }) != 0);
    }

    void connect() {
        while (call("connect", [&] { return Gbe_connectCamera(m_camera); }) != 0) {
        }
        m_failuresInARow = 0;
    }

    // Runs a read or write; true when it reports success. The station's log begins with the call.
    template<typename Access> bool access(const char* name, Access&& run) {
        Gbe_invalidateCache(m_camera);
        station->log().clear();
        m_numberBefore = station->peekRegister(plain::kNumber).value();
        m_textBefore = text();
        const int result = call(name, run);
        if (result != 0 && result != GBE_ERROR_TRANSPORT_LAYER && result != kControlLost) {
            complain(std::string(name) + " gave " + std::to_string(result));
        }
        m_failuresInARow = result == 0 ? 0 : result == kControlLost ? kMostFailures : m_failuresInARow + 1;
        (result == 0 ? m_totals.good : m_totals.bad)++;
        return result == 0;
    }

    // The values that the camera carried out writes of since the call began. Copies that the wire has kept of
    // earlier commands are among them.
    std::set<std::uint32_t> numbersWritten() const {
        std::set<std::uint32_t> values;
        for (const simcam::Event& event : station->log().events()) {
            const bool carriedOut = event.status == gvcp::Status::Success && !event.repeated;
            if (event.command == gvcp::Command::WriteRegCmd && event.address == plain::kNumber &&
                carriedOut) {
                values.insert(event.value);
            }
        }
        return values;
    }
    unsigned textsWritten() const {
        unsigned count = 0;
        for (const simcam::Event& event : station->log().events()) {
            const bool carriedOut = event.status == gvcp::Status::Success && !event.repeated;
            count += event.command == gvcp::Command::WriteMemCmd && carriedOut ? 1 : 0;
        }
        return count;
    }
    std::string text() const {
        const auto bytes = station->peek(plain::kText, 16).value();
        const std::string all(bytes.begin(), bytes.end());
        return all.substr(0, all.find('\0'));
    }

    void writeNumber() {
        const auto value = static_cast<std::uint32_t>((m_board * kPorts + m_port) << 24) + ++m_counter;
        if (access("write", [&] { return Gbe_setIntegerValue(m_camera, "Number", value); }) &&
            numbersWritten().count(value) == 0) {
            complain("written " + std::to_string(value) + " did not reach the camera");
        }
    }

    void readNumber() {
        long long value = -1;
        if (access("read", [&] { return Gbe_getIntegerValue(m_camera, "Number", &value); }) &&
            value != m_numberBefore && numbersWritten().count(static_cast<std::uint32_t>(value)) == 0) {
            complain("read " + std::to_string(value) + ", which it did not hold");
        }
    }

    void writeText() {
        const std::string value = "text " + place() + " " + std::to_string(++m_counter % 10000);
        m_texts.push_back(value);
        if (access("write text", [&] { return Gbe_setStringValue(m_camera, "Text", value.c_str()); })) {
            const std::string now = text();
            const bool overwritten = textsWritten() > 1 && isKnown(now);
            if (textsWritten() == 0 || (now != value && !overwritten)) {
                complain("'" + value + "' was written, '" + now + "' is there");
            }
        }
    }

    void readText() {
        const char* value = nullptr;
        if (access("read text", [&] { return Gbe_getStringValue(m_camera, "Text", &value); }) &&
            value != m_textBefore && !(textsWritten() > 0 && isKnown(value))) {
            complain(std::string("read '") + value + "', '" + m_textBefore + "' was there");
        }
    }

    void complain(const std::string& text) const { ADD_FAILURE() << place() << ": " << text; }

    // One of the texts that can still be under way.
    bool isKnown(const std::string& value) {
        while (m_texts.size() > 20) {
            m_texts.erase(m_texts.begin());
        }
        return std::find(m_texts.begin(), m_texts.end(), value) != m_texts.end();
    }

    const Session& m_session;
    const int m_board, m_port;
    Totals& m_totals;
    std::mt19937 m_random;
    CameraHandle* m_camera = nullptr;
    unsigned m_counter = 0;
    unsigned m_failuresInARow = 0;
    std::uint32_t m_numberBefore = 0;
    std::string m_textBefore;
    std::vector<std::string> m_texts;
};

void soak(seconds time, unsigned seed, Totals& totals) {
    {
        Session session(kBoards);
        std::vector<std::unique_ptr<User>> users;
        std::vector<std::thread> threads;
        for (int place = 0; place < kBoards * kPorts; ++place) {
            const int board = place / kPorts;
            const int port = place % kPorts;
            users.push_back(std::make_unique<User>(session, board, port, seed, totals));
            users.back()->station = session.rig.hang(board, port, plainCamera());
            softboard::setFaultPlan(board, port, badWire(seed * 64 + static_cast<unsigned>(place)));
        }
        for (const auto& user : users) {
            threads.emplace_back([time, &user = *user] { user.run(time); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    std::string error;
    softboard::loadConfiguration("[board 0]\n", error); // ends the cameras and the wires
}

// What the process has: threads and descriptors.
std::pair<std::size_t, std::size_t> holdings() {
    const auto entries = [](const char* folder) {
        const std::filesystem::directory_iterator all(folder);
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    };
    return {entries("/proc/self/task"), entries("/proc/self/fd")};
}

unsigned fromEnvironment(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

TEST(Soak, OnABadWireWhatIsReportedAsDoneIsDone) {
    const unsigned seed = fromEnvironment("SOAK_SEED", 1);
    Totals totals;
    soak(seconds(0), seed, totals); // from here on the process has what it keeps for good
    const auto before = holdings();
    totals.calls.clear();
    soak(seconds(fromEnvironment("SOAK_SECONDS", SOAK_SECONDS)), seed + 1, totals);
    for (const auto& [call, count] : totals.calls) {
        std::printf("%8u %s\n", count, call.c_str());
    }
    EXPECT_GE(totals.good, kFewestGood * (totals.good + totals.bad));
    EXPECT_TRUE(eventually([&] { return holdings() == before; }))
        << "threads " << before.first << " -> " << holdings().first << ", descriptors " << before.second
        << " -> " << holdings().second;
}

} // namespace
