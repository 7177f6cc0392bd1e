#include "gbe/FeatureWatch.h"

#include "gbe/Failure.h"
#include "gbe/features.h"

#include <algorithm>
#include <utility>

namespace gbe {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// What is cached costs nothing to be read again, and what is not is read when the description says that it is
// due, often enough for the shortest times that descriptions give.
constexpr milliseconds kReadAgain{200};
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
    for (std::size_t i = 0; i < m_names.size(); ++i) {
        featureKind(camera, m_names[i]);
        m_watched.push_back({this, i});
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
        readAgain();
        std::unique_lock lock(m_mutex);
        const auto isNews = [&] { return !m_changes.empty() || m_loss != 0; };
        m_told.wait_until(lock, std::min(end, Clock::now() + kReadAgain), isNews);
        if (m_changes.empty() && m_loss != 0) {
            fail(m_loss);
        }
        if (!m_changes.empty() || Clock::now() >= end) {
            return std::exchange(m_changes, {});
        }
    }
}

// News in it come as changes of their own.
void FeatureWatch::readAgain() {
    if (!m_isAlone && Clock::now() >= m_nextForget) {
        Gbe_invalidateCache(m_camera);
        m_nextForget = Clock::now() + kForget;
    }
    for (const std::string& name : m_names) {
        unsigned size = 0;
        if (Gbe_getValueAsString(m_camera, name.c_str(), nullptr, &size) == GBE_ERROR_CONNECTION) {
            GbeControlStatus control{};
            Gbe_getControlStatus(m_camera, &control);
            fail(control.loss);
        }
    }
}

void FeatureWatch::fail(int loss) const {
    throw Failure(std::string("control of the camera is lost: ") + lossText(loss), ExitStatus::Lost);
}

} // namespace gbe
