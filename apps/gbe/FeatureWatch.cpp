#include "gbe/FeatureWatch.h"

#include "gbe/Failure.h"
#include "gbe/features.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace gbe {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// What is cached costs nothing to be read again, and what is not is read when the description says that it is
// due, often enough for the shortest times that descriptions give.
constexpr milliseconds kReadAgain{200};
// Between two looks: a feature that counts its own reads has a signal for each.
constexpr milliseconds kPause{50};
// A camera that somebody else controls: what is cached may be old.
constexpr milliseconds kForget{1000};

} // namespace

const char* lossText(int loss) {
    switch (loss) {
    case GBE_LOSS_SILENT:
        return "the camera does not answer any more";
    case GBE_LOSS_HEARTBEAT:
        return "the camera has dropped control because it did not hear this host";
    case GBE_LOSS_TAKEN_OVER:
        return "another application has taken control";
    case GBE_LOSS_REBOOTED:
        return "the camera has restarted";
    default:
        return "the connection has ended";
    }
}

FeatureWatch::FeatureWatch(CameraHandle* camera, std::vector<std::string> names)
    : m_camera(camera), m_names(std::move(names)), m_nextForget(Clock::now() + kForget) {
    readAhead(camera, m_names);
    for (std::size_t i = 0; i < m_names.size(); ++i) {
        featureKind(camera, m_names[i]);
        m_watched.push_back({this, i});
        m_values.push_back(valueNow(i));
    }
    GbeControlStatus control{};
    m_isAlone = Gbe_getControlStatus(camera, &control) != 0 || control.holder == GBE_CONTROL_SELF;
    check("watching", Gbe_watchControl(camera, &tellLoss, this));
    for (Watched& watched : m_watched) {
        const char* const name = m_names[watched.feature].c_str();
        check(name, Gbe_watchFeature(camera, name, &tellChange, &watched));
    }
}

FeatureWatch::~FeatureWatch() {
    for (const std::string& name : m_names) {
        Gbe_watchFeature(m_camera, name.c_str(), nullptr, nullptr);
    }
    Gbe_watchControl(m_camera, nullptr, nullptr);
}

void FeatureWatch::tellChange(CameraHandle*, const char*, int change, void* user) {
    const auto* const watched = static_cast<const Watched*>(user);
    FeatureWatch& watch = *watched->watch;
    const std::lock_guard lock(watch.m_mutex);
    watch.m_changes.push_back({watched->feature, change, std::chrono::system_clock::now()});
    watch.m_told.notify_one();
}

void FeatureWatch::tellLoss(CameraHandle*, int loss, void* user) {
    FeatureWatch& watch = *static_cast<FeatureWatch*>(user);
    const std::lock_guard lock(watch.m_mutex);
    watch.m_loss = loss;
    watch.m_told.notify_one();
}

std::vector<FeatureChange> FeatureWatch::wait(milliseconds longest) {
    const auto end = Clock::now() + longest;
    for (;;) {
        std::this_thread::sleep_until(m_pauseEnds);
        m_pauseEnds = Clock::now() + kPause;
        std::vector<FeatureChange> changes = take();
        for (const std::size_t feature : dueFeatures(changes)) {
            lookAt(feature, changes);
        }
        if (!changes.empty() || Clock::now() >= end) {
            return changes;
        }
        std::unique_lock lock(m_mutex);
        const auto isNews = [&] { return !m_changes.empty() || m_loss != 0; };
        m_told.wait_until(lock, std::min(end, m_nextRound), isNews);
    }
}

// All of them once in a while, those that signals name between.
std::set<std::size_t> FeatureWatch::dueFeatures(const std::vector<FeatureChange>& changes) {
    std::set<std::size_t> due;
    for (const FeatureChange& change : changes) {
        due.insert(change.feature);
    }
    if (Clock::now() >= m_nextRound) {
        m_nextRound = Clock::now() + kReadAgain;
        forgetWhatIsOld();
        for (std::size_t i = 0; i < m_names.size(); ++i) {
            due.insert(i);
        }
    }
    return due;
}

// What callbacks have brought.
std::vector<FeatureChange> FeatureWatch::take() {
    const std::lock_guard lock(m_mutex);
    if (m_changes.empty() && m_loss != 0) {
        fail(m_loss);
    }
    return std::exchange(m_changes, {});
}

void FeatureWatch::forgetWhatIsOld() {
    if (!m_isAlone && Clock::now() >= m_nextForget) {
        Gbe_invalidateCache(m_camera);
        readAhead(m_camera, m_names);
        m_nextForget = Clock::now() + kForget;
    }
}

// A value counts as changed when it is another one than was told, with or without a signal.
void FeatureWatch::lookAt(std::size_t feature, std::vector<FeatureChange>& changes) {
    std::string now = valueNow(feature);
    const auto isOfIt = [&](const FeatureChange& change) {
        return change.feature == feature && change.what == GBE_CHANGE_VALUE;
    };
    if (now == m_values[feature]) {
        std::erase_if(changes, isOfIt);
    } else if (std::none_of(changes.begin(), changes.end(), isOfIt)) {
        changes.push_back({feature, GBE_CHANGE_VALUE, std::chrono::system_clock::now()});
    }
    m_values[feature] = std::move(now);
}

// What cannot be read counts as a value, too.
std::string FeatureWatch::valueNow(std::size_t feature) const {
    try {
        return readText(m_camera, m_names[feature]);
    } catch (const Failure& failure) {
        GbeControlStatus control{};
        if (failure.status() == ExitStatus::Lost) {
            Gbe_getControlStatus(m_camera, &control);
            fail(control.loss);
        }
        // Who only looks has no control to lose: nothing else tells that the camera has gone.
        const bool isUnanswered = failure.reason() == Gbe_getErrorDescription(GBE_ERROR_TRANSPORT_LAYER);
        if (isUnanswered && Gbe_getControlStatus(m_camera, &control) == GBE_SUCCESS &&
            control.holder == GBE_CONTROL_UNKNOWN) {
            throw Failure(std::string("the camera is lost: ") + lossText(GBE_LOSS_SILENT), ExitStatus::Lost);
        }
        return failure.reason();
    }
}

void FeatureWatch::fail(int loss) const {
    throw Failure(std::string("control of the camera is lost: ") + lossText(loss), ExitStatus::Lost);
}

} // namespace gbe
