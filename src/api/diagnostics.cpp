// Figures of links, and the frames that go over them.
#include "liomol/diagnostics.h"
#include "api/handles.h"
#include "transport/trace.h"
#include "util/link_pages.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <vector>

namespace {

using util::Figure;
using util::LinkFigures;

// What another program claims may lie in the future.
std::uint64_t ageOf(std::uint64_t moment) {
    const auto now = std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
    const auto present = static_cast<std::uint64_t>(now.count());
    return moment == 0 ? std::numeric_limits<std::uint64_t>::max() : present - std::min(moment, present);
}

struct Shown {
    std::uint64_t GbeLinkStatistics::*to;
    Figure from;
};
constexpr Shown kShown[] = {
    {&GbeLinkStatistics::framesSent, Figure::FramesSent},
    {&GbeLinkStatistics::framesReceived, Figure::FramesReceived},
    {&GbeLinkStatistics::commands, Figure::Commands},
    {&GbeLinkStatistics::repeated, Figure::Repeated},
    {&GbeLinkStatistics::unanswered, Figure::Unanswered},
    {&GbeLinkStatistics::refused, Figure::Refused},
    {&GbeLinkStatistics::roundTrips, Figure::RoundTrips},
    {&GbeLinkStatistics::roundTripNs, Figure::RoundTripTime},
    {&GbeLinkStatistics::lastRoundTripNs, Figure::LastRoundTrip},
    {&GbeLinkStatistics::longestRoundTripNs, Figure::LongestRoundTrip},
    {&GbeLinkStatistics::heartbeats, Figure::Heartbeats},
    {&GbeLinkStatistics::images, Figure::Images},
    {&GbeLinkStatistics::imageBytes, Figure::ImageBytes},
    {&GbeLinkStatistics::imagesBroken, Figure::ImagesBroken},
    {&GbeLinkStatistics::streamPackets, Figure::StreamPackets},
    {&GbeLinkStatistics::imagesLost, Figure::ImagesLost},
    {&GbeLinkStatistics::imagesDropped, Figure::ImagesDropped},
    {&GbeLinkStatistics::missingPackets, Figure::MissingPackets},
    {&GbeLinkStatistics::resentPackets, Figure::ResentPackets},
    {&GbeLinkStatistics::overrun, Figure::Overrun},
};

GbeLinkStatistics shown(const util::LinkPage& page, int board, int port) {
    const LinkFigures& figures = page.link(board, port);
    GbeLinkStatistics out{};
    out.pid = page.pid;
    page.program.copy(out.program, sizeof out.program - 1);
    out.board = board;
    out.port = static_cast<unsigned>(port);
    out.use = static_cast<int>(std::min<std::uint64_t>(figures[Figure::Use], GBE_LINK_LOST));
    for (std::size_t i = 0; i < sizeof out.mac; ++i) {
        out.mac[i] = static_cast<unsigned char>(figures[Figure::Mac] >> (40 - 8 * i));
    }
    for (const Shown& each : kShown) {
        out.*each.to = figures[each.from];
    }
    out.streamOpen = figures[Figure::StreamOpen] != 0 ? 1 : 0;
    out.answerAgeNs = ageOf(figures[Figure::AnswerMoment]);
    out.heartbeatAgeNs = ageOf(figures[Figure::HeartbeatMoment]);
    return out;
}

} // namespace

int Gbe_getLinkStatistics(CameraHandle* camera, GbeLinkStatistics* out) {
    if (camera == nullptr || out == nullptr) {
        return status::IllegalParameter;
    }
    const board::CameraPort& place = camera->place();
    *out = shown(util::ownLinkPage(), place.boardIndex, place.number);
    return status::Success;
}

int Gbe_getAllLinkStatistics(GbeLinkStatistics* out, unsigned* count) {
    if (count == nullptr || (out == nullptr && *count != 0)) {
        return status::IllegalParameter;
    }
    const unsigned room = *count;
    unsigned found = 0;
    for (const util::LinkPage& page : util::readLinkPages()) {
        for (std::size_t link = 0; link < util::kLinks; ++link) {
            const LinkFigures& figures = page.links[link];
            if (figures[Figure::FramesSent] == 0 && figures[Figure::FramesReceived] == 0) {
                continue;
            }
            if (found < room) {
                constexpr std::size_t kPorts = util::kLinkPorts;
                out[found] = shown(page, static_cast<int>(link / kPorts), static_cast<int>(link % kPorts));
            }
            ++found;
        }
    }
    *count = found;
    return status::Success;
}

int Gbe_setFrameListener(GbeFrameListener listener, void* user) {
    trace::listen(listener, user);
    return status::Success;
}
