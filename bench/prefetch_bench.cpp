// All features of the camera in software over a virtual wire: read one by one, and read ahead first. What the
// description wants read at each access takes its round trips either way; a pass over warm caches shows how
// many these are.
//
//     prefetch_bench [tries]       200 of each at first, in turns
#include "liomol/features.h"

#include "softboard/softboard.h"

#include "support/fake_service.h"
#include "support/net_namespace.h"
#include "support/wired_camera.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
using Read = void (*)(CameraHandle* camera, const char* name);

const char* const kBoard = "[board 0]\n[board 0 port 0]\ninterface = host0\n";

// What the aims are: parts of the round trips and of the time of single reads.
constexpr double kTripsAim = 0.2;
constexpr double kTimeAim = 1 / 3.0;

void readValue(CameraHandle* camera, const char* name) {
    char text[4096];
    unsigned size = sizeof text;
    Gbe_getValueAsString(camera, name, text, &size);
}

// What a list with everything needs of each feature.
void readAll(CameraHandle* camera, const char* name) {
    GbeFeatureInfo info{};
    Gbe_getFeatureInfo(camera, name, &info);
    readValue(camera, name);
    if (info.kind == GBE_KIND_INTEGER) {
        long long min = 0, max = 0, increment = 0;
        Gbe_getIntegerLimits(camera, name, &min, &max, &increment);
    } else if (info.kind == GBE_KIND_FLOAT) {
        double min = 0, max = 0;
        Gbe_getFloatLimits(camera, name, &min, &max);
    } else if (info.kind == GBE_KIND_ENUMERATION) {
        char names[8192];
        unsigned size = sizeof names;
        Gbe_getFeatureList(camera, name, GBE_LIST_AVAILABLE_ENTRIES, names, &size);
    }
}

struct Figures {
    std::vector<double> times;
    double trips = 0; // of the latest pass

    double median() {
        std::nth_element(
            times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
        return times[times.size() / 2];
    }
};

class Bench {
public:
    Bench(CameraHandle* camera, const WiredCamera& station) : m_camera(camera), m_station(station) {
        const int count = Gbe_getFeatureCount(camera);
        for (unsigned i = 0; i < static_cast<unsigned>(std::max(count, 0)); ++i) {
            const char* name = "";
            Gbe_getFeatureName(camera, i, &name);
            m_names.emplace_back(name);
        }
    }

    // Returns whether both aims are met, beside what is read at each access.
    bool compare(const char* what, Read read, int tries) const {
        Figures single;
        Figures ahead;
        Figures warm;
        for (int i = 0; i < tries; ++i) {
            pass(single, read, Caches::Cold);
            pass(ahead, read, Caches::ReadAhead);
            pass(warm, read, Caches::Warm);
        }
        std::printf("%s of %zu features (medians)\n", what, m_names.size());
        print("one by one", single);
        print("read ahead", ahead);
        print("from warm caches", warm);
        const double trips = (ahead.trips - warm.trips) / (single.trips - warm.trips);
        const double time = (ahead.median() - warm.median()) / (single.median() - warm.median());
        std::printf(
            "  round trips: %.3f, beside those of warm caches %.3f (aim %.2f)\n"
            "  time: %.3f, beside that of warm caches %.3f (aim %.2f)\n",
            ahead.trips / single.trips, trips, kTripsAim, ahead.median() / single.median(), time, kTimeAim);
        return trips <= kTripsAim && time <= kTimeAim;
    }

private:
    enum class Caches { Cold, ReadAhead, Warm };

    static void print(const char* what, Figures& figures) {
        std::printf("  %-17s %4.0f round trips, %5.2f ms\n", what, figures.trips, figures.median());
    }

    void pass(Figures& figures, Read read, Caches caches) const {
        if (caches != Caches::Warm) {
            Gbe_invalidateCache(m_camera);
        }
        const auto before = m_station->log().total();
        const auto start = Clock::now();
        if (caches == Caches::ReadAhead) {
            Gbe_prefetch(m_camera, nullptr, 0);
        }
        for (const std::string& name : m_names) {
            read(m_camera, name.c_str());
        }
        figures.times.push_back(Milliseconds(Clock::now() - start).count());
        figures.trips = static_cast<double>(m_station->log().total() - before);
    }

    CameraHandle* m_camera;
    const WiredCamera& m_station;
    std::vector<std::string> m_names;
};

} // namespace

int main(int argc, char** argv) {
    const int asked = argc > 1 ? std::atoi(argv[1]) : 0;
    const int tries = asked > 0 ? asked : 200;
    const test_support::VirtualWire wire;
    if (!wire.error().empty()) {
        std::fprintf(stderr, "%s\n", wire.error().c_str());
        return 1;
    }
    const test_support::NetNamespace::Inside inside(wire.host);
    const FakeService service;
    const WiredCamera station(wire.camera, "camera0", {{"mac", "02:00:00:00:00:41"}, {"ip", "169.254.1.65"}});
    std::string error;
    BoardHandle* board = nullptr;
    CameraHandle* camera = nullptr;
    if (!softboard::loadConfiguration(kBoard, error) || Gbe_initBoard(0, 0, &board) != 0 ||
        Gbe_scanNetwork(board, 0, 0) != 0 || Gbe_getFirstCamera(board, 0, &camera) != 0 ||
        Gbe_connectCamera(camera) != 0) {
        std::fprintf(stderr, "no camera (%s)\n", error.c_str());
        return 1;
    }
    const Bench bench(camera, station);
    bool isGood = bench.compare("values", readValue, tries);
    isGood = bench.compare("values, access and limits", readAll, tries) && isGood;
    Gbe_freeCamera(camera);
    Gbe_freeBoard(board);
    return isGood ? 0 : 1;
}
