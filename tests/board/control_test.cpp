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

enum class What { Answer, Nobody, Self, Other, Somebody, LookInVain, Refused, Timeout };

struct Event {
    int at; // milliseconds
    What what;
    std::uint32_t timeout = 15000; // what the camera has in its register, or is told
};

void happen(ControlWatch& watch, const Event& event) {
    const ControlWatch::Time now{std::chrono::hours(1) + milliseconds(event.at)};
    const auto look = [&](Holder holder) {
        ControlReading reading;
        reading.holder = holder;
        reading.answered = holder != Holder::Unknown;
        reading.heartbeatTimeout = event.timeout;
        watch.looked(reading, now);
    };
    switch (event.what) {
    case What::Answer:
        return watch.answered(now);
    case What::Nobody:
        return look(Holder::Nobody);
    case What::Self:
        return look(Holder::Self);
    case What::Other:
        return look(Holder::Other);
    case What::Somebody:
        return look(Holder::Somebody);
    case What::LookInVain:
        return look(Holder::Unknown);
    case What::Refused:
        return watch.controlRefused();
    case What::Timeout:
        return watch.heartbeatTimeoutWritten(milliseconds(event.timeout));
    }
}

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
        happen(watch, {0, What::Other});
        EXPECT_EQ(watch.loss(), ControlLoss::None) << "not watched yet";
        watch.start(milliseconds(15000), ControlWatch::Time{std::chrono::hours(1)});
        for (const Event& event : row.events) {
            happen(watch, event);
        }
        EXPECT_EQ(watch.loss(), row.loss);
    }
}

} // namespace
