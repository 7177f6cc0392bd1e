// What is made of answers, silence and the camera's registers, on a clock of the test's own.
#include "board/ControlWatch.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using board::ControlReading;
using board::ControlWatch;
using board::Holder;
using std::chrono::milliseconds;
using tavo::ControlLoss;

using Time = ControlWatch::Time;
using Deed = void (*)(ControlWatch& watch, Time now, std::uint32_t timeout);

template<Holder holder> void look(ControlWatch& watch, Time now, std::uint32_t timeout) {
    ControlReading reading;
    reading.holder = holder;
    reading.answered = holder != Holder::Unknown;
    reading.heartbeatTimeout = timeout;
    watch.looked(reading, now);
}

namespace What {
const Deed Answer = [](ControlWatch& watch, Time now, std::uint32_t) { watch.answered(now); };
const Deed Refused = [](ControlWatch& watch, Time, std::uint32_t) { watch.controlRefused(); };
const Deed Timeout = [](ControlWatch& watch, Time, std::uint32_t timeout) {
    watch.heartbeatTimeoutWritten(milliseconds(timeout));
};
const Deed Nobody = look<Holder::Nobody>, Self = look<Holder::Self>, Other = look<Holder::Other>,
           Somebody = look<Holder::Somebody>, LookInVain = look<Holder::Unknown>;
} // namespace What

struct Event {
    int at; // milliseconds
    Deed deed;
    std::uint32_t timeout = 15000; // what the camera has in its register, or is told
};

TEST(ControlWatch, KnowsWhyControlIsLost) {
    const struct {
        const char* name;
        std::vector<Event> events;
        ControlLoss loss;
    } rows[] = {
        {"silence within the time-out", {{14999, What::LookInVain}}, ControlLoss::None},
        {"silence for all of it", {{15000, What::LookInVain}}, ControlLoss::Silent},
        {"silence since an answer", {{5000, What::Answer}, {19999, What::LookInVain}}, ControlLoss::None},
        {"silence since a look", {{5000, What::Somebody}, {19999, What::LookInVain}}, ControlLoss::None},
        {"a shorter time-out", {{0, What::Timeout, 8000}, {8000, What::LookInVain}}, ControlLoss::Silent},
        {"refused for another reason", {{1, What::Self}}, ControlLoss::None},
        {"dropped", {{1, What::Nobody}}, ControlLoss::HeartbeatMissed},
        {"dropped, with the newer time-out",
         {{0, What::Timeout, 8000}, {1, What::Nobody, 8000}},
         ControlLoss::HeartbeatMissed},
        {"restarted", {{1, What::Nobody, 3000}}, ControlLoss::Rebooted},
        {"taken over", {{1, What::Other}}, ControlLoss::TakenOver},
        {"refused by a camera that does not tell",
         {{1, What::Somebody}, {2, What::Refused}},
         ControlLoss::TakenOver},
        {"silence that is explained",
         {{15000, What::LookInVain}, {16000, What::Nobody, 3000}},
         ControlLoss::Rebooted},
        {"what is explained stays so",
         {{1, What::Nobody, 3000}, {2, What::Other}, {3, What::Self}, {90000, What::LookInVain}},
         ControlLoss::Rebooted},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ControlWatch watch;
        const Time start{std::chrono::hours(1)};
        What::Other(watch, start, 15000);
        EXPECT_EQ(watch.loss(), ControlLoss::None) << "not watched yet";
        watch.start(milliseconds(15000), start);
        for (const Event& event : row.events) {
            event.deed(watch, start + milliseconds(event.at), event.timeout);
        }
        EXPECT_EQ(watch.loss(), row.loss);
    }
}

} // namespace
