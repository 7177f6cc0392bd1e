// Hours on a bad wire: 32 cameras on eight boards, each used by a thread of the application, over links that
// lose, repeat, mix up and delay frames in both directions. scripts/soak runs it for longer than the suite.
#include "system/session.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <random>

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
            const Register& place = choice % 10 < 7 ? kNumber : kText;
            choice < 50 ? write(place) : read(place);
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

    // What a feature of either kind is, with texts for all values.
    struct Register {
        const char* name;
        gvcp::Command write;
    };
    static constexpr Register kNumber{"Number", gvcp::Command::WriteRegCmd};
    static constexpr Register kText{"Text", gvcp::Command::WriteMemCmd};

    // Runs a read or write; true when it reports success.
    template<typename Access> bool access(const std::string& name, Access&& run) {
        Gbe_invalidateCache(m_camera);
        const int result = call(name.c_str(), run);
        if (result != 0 && result != GBE_ERROR_TRANSPORT_LAYER && result != kControlLost) {
            complain(name + " gave " + std::to_string(result));
        }
        m_failuresInARow = result == 0 ? 0 : result == kControlLost ? kMostFailures : m_failuresInARow + 1;
        (result == 0 ? m_totals.good : m_totals.bad)++;
        return result == 0;
    }

    // How often the camera carried out a write of the register since its log was cleared. Copies that the
    // wire has kept of earlier commands are among them, and come at any time: so the log is cleared before
    // what is held is read for the first time, and looked at after it is read for the last.
    unsigned writesOf(const Register& place) const {
        unsigned count = 0;
        for (const simcam::Event& event : station->log().events()) {
            const bool carriedOut = event.status == gvcp::Status::Success && !event.repeated;
            count += event.command == place.write && event.address >= plain::kNumber && carriedOut ? 1 : 0;
        }
        return count;
    }
    std::string held(const Register& place) const {
        if (&place == &kNumber) {
            return std::to_string(station->peekRegister(plain::kNumber).value());
        }
        const auto bytes = station->peek(plain::kText, 16).value();
        const std::string all(bytes.begin(), bytes.end());
        return all.substr(0, all.find('\0'));
    }

    void write(const Register& place) {
        const unsigned number = static_cast<unsigned>((m_board * kPorts + m_port) << 24) + ++m_counter;
        const std::string value = (&place == &kText ? "text " : "") + std::to_string(number);
        m_written.push_back(value);
        station->log().clear();
        const bool done = access(std::string("write ") + place.name, [&] {
            return &place == &kText ? Gbe_setStringValue(m_camera, "Text", value.c_str())
                                    : Gbe_setIntegerValue(m_camera, "Number", number);
        });
        const std::string now = held(place);
        const unsigned writes = writesOf(place);
        if (done && (writes == 0 || (now != value && !(writes > 1 && isKnown(now))))) {
            complain(
                "'" + value + "' was written, '" + now + "' is there after " + std::to_string(writes) +
                " writes");
        }
    }

    void read(const Register& place) {
        station->log().clear();
        const std::string before = held(place);
        std::string value;
        const bool done = access(std::string("read ") + place.name, [&] {
            long long number = -1;
            const char* text = "";
            const int result = &place == &kText ? Gbe_getStringValue(m_camera, "Text", &text)
                                                : Gbe_getIntegerValue(m_camera, "Number", &number);
            value = &place == &kText ? text : std::to_string(number);
            return result;
        });
        if (done && value != before && !(writesOf(place) > 0 && isKnown(value))) {
            complain("read '" + value + "', '" + before + "' was there");
        }
    }

    void complain(const std::string& text) const { ADD_FAILURE() << place() << ": " << text; }

    // One of the values that can still be under way.
    bool isKnown(const std::string& value) {
        m_written.erase(
            m_written.begin(), m_written.end() - std::min<std::ptrdiff_t>(20, std::ssize(m_written)));
        return std::ranges::count(m_written, value) > 0;
    }

    const Session& m_session;
    const int m_board, m_port;
    Totals& m_totals;
    std::mt19937 m_random;
    CameraHandle* m_camera = nullptr;
    unsigned m_counter = 0;
    unsigned m_failuresInARow = 0;
    std::vector<std::string> m_written;
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
