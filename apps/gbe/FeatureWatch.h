// Waits for changes of a camera's features. Signals tell what follows from an access of this program; what
// the camera changes by itself, and what others write, shows when it is read again: once a while that is done
// here.
#pragma once

#include "liomol/features.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace gbe {

struct FeatureChange {
    std::size_t feature = 0; // in the order of the names
    int what = GBE_CHANGE_VALUE;
    std::chrono::system_clock::time_point time;
};

// One at a time for a camera. Used by one thread; the library's thread only brings the changes.
class FeatureWatch {
public:
    // Throws Failure: a name that no feature has.
    FeatureWatch(CameraHandle* camera, std::vector<std::string> names);
    ~FeatureWatch();
    FeatureWatch(const FeatureWatch&) = delete;
    FeatureWatch& operator=(const FeatureWatch&) = delete;

    const std::vector<std::string>& names() const { return m_names; }
    // The changes since the last call, in their order; waits for the first of them, but not longer. Throws
    // Failure when the camera is lost, with the reason.
    std::vector<FeatureChange> wait(std::chrono::milliseconds longest);

private:
    struct Watched {
        FeatureWatch* watch;
        std::size_t feature;
    };
    static void tellChange(CameraHandle* camera, const char* name, int change, void* user);
    static void tellLoss(CameraHandle* camera, int loss, void* user);
    std::vector<FeatureChange> take();
    std::string valueNow(std::size_t feature) const;
    std::set<std::size_t> dueFeatures(const std::vector<FeatureChange>& changes);
    void forgetWhatIsOld();
    void lookAt(std::size_t feature, std::vector<FeatureChange>& changes);
    [[noreturn]] void fail(int loss) const;

    CameraHandle* const m_camera;
    const std::vector<std::string> m_names;
    std::vector<Watched> m_watched;    // what the callbacks know of themselves
    std::vector<std::string> m_values; // as they were told last
    bool m_isAlone = true;             // nobody else writes to the camera
    std::chrono::steady_clock::time_point m_nextForget;
    std::chrono::steady_clock::time_point m_nextRound; // of looks at all features
    std::chrono::steady_clock::time_point m_pauseEnds;

    std::mutex m_mutex;
    std::condition_variable m_told;
    std::vector<FeatureChange> m_changes; // under m_mutex, as is what follows
    int m_loss = 0;
};

// "controlled by another application": why control of a camera was lost; a GbeControlLoss.
const char* lossText(int loss);

} // namespace gbe
