#include "LinkState.h"

#include "link_report/link_report.h"
#include "service.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <tuple>

namespace gbe {
namespace {

// From the kernel's table, which is that of this process's network namespace.
std::map<std::string, InterfaceCounts> interfaceCounts() {
    std::map<std::string, InterfaceCounts> all;
    std::ifstream table("/proc/net/dev");
    for (std::string line; std::getline(table, line);) {
        const std::size_t colon = line.find(':');
        if (colon == line.npos) {
            continue;
        }
        const std::size_t begin = line.find_first_not_of(' ');
        std::istringstream columns(line.substr(colon + 1));
        InterfaceCounts counts;
        std::uint64_t receiveErrors = 0;
        std::uint64_t receiveDropped = 0;
        std::uint64_t skipped = 0; // fifo, frame, compressed, multicast
        columns >> counts.receivedBytes >> counts.receivedFrames >> receiveErrors >> receiveDropped >>
            skipped >> skipped >> skipped >> skipped >> counts.sentBytes >> counts.sentFrames >>
            counts.errors >> counts.dropped;
        counts.errors += receiveErrors;
        counts.dropped += receiveDropped;
        if (columns) {
            all.emplace(line.substr(begin, colon - begin), counts);
        }
    }
    return all;
}

// What the service says of a port; nothing when it serves none of these numbers, or does not answer.
std::optional<PortState> servedPort(int board, unsigned port, bool& serviceAnswers) {
    const ServiceReply reply =
        askService("STATUS BOARD " + std::to_string(board) + " PORT " + std::to_string(port));
    serviceAnswers = serviceAnswers || reply.error == 0;
    if (!reply.good()) {
        return std::nullopt;
    }
    const std::string prefix = "200-PORT " + std::to_string(port) + " ";
    PortState state{board, port, {}, {}, {}, {}, {}};
    state.linkUp = std::find(reply.lines.begin(), reply.lines.end(), prefix + "up") != reply.lines.end();
    state.mac = Mac::parse(reply.field(prefix + "MAC ")).value_or(Mac{});
    state.ip = Ipv4::parse(reply.field(prefix + "IP ")).value_or(Ipv4{});
    return state;
}

void addInterface(PortState& state, const std::map<std::string, InterfaceCounts>& counts) {
    const auto report = link_report::ofPort(state.board, state.port);
    if (!report) {
        return;
    }
    state.interface = report->interface;
    state.linkUp = report->up && report->carrier;
    state.mac = state.mac.isNone() ? report->mac : state.mac;
    if (const auto found = counts.find(report->interface); found != counts.end()) {
        state.counts = found->second;
    }
}

auto placeOf(const GbeLinkStatistics& link) {
    return std::tuple(link.board, link.port, link.pid);
}

std::vector<GbeLinkStatistics> allLinks() {
    std::vector<GbeLinkStatistics> links(64);
    for (;;) { // until nothing comes in between
        auto count = static_cast<unsigned>(links.size());
        if (Gbe_getAllLinkStatistics(links.data(), &count) != 0) {
            return {};
        }
        const bool isAll = count <= links.size();
        links.resize(count);
        if (isAll) {
            return links;
        }
    }
}

} // namespace

LinkState lookAtLinks(std::optional<int> board) {
    LinkState state;
    state.time = std::chrono::steady_clock::now();
    const auto isMeant = [&](int number) { return !board || *board == number; };
    state.links = allLinks();
    std::erase_if(state.links, [&](const auto& link) {
        return !isMeant(link.board) || link.pid == getpid(); // what looks is not looked at
    });
    std::sort(state.links.begin(), state.links.end(), [](const auto& a, const auto& b) {
        return placeOf(a) < placeOf(b);
    });
    const auto counts = interfaceCounts();
    for (int number = 0; number < GBE_BOARDS; ++number) {
        for (unsigned port = 0; isMeant(number) && port < GBE_PORTS; ++port) {
            const auto served = servedPort(number, port, state.serviceAnswers);
            PortState here = served.value_or(PortState{number, port, {}, {}, {}, {}, {}});
            addInterface(here, counts);
            const bool isUsed = std::any_of(state.links.begin(), state.links.end(), [&](const auto& link) {
                return link.board == number && link.port == port;
            });
            if (served || isUsed || !here.interface.empty()) {
                state.ports.push_back(std::move(here));
            } else if (port == 0) {
                break; // no such board: one question is enough
            }
        }
    }
    return state;
}

const GbeLinkStatistics* earlier(const LinkState& state, const GbeLinkStatistics& link) {
    const auto found = std::find_if(state.links.begin(), state.links.end(), [&](const auto& each) {
        return placeOf(each) == placeOf(link);
    });
    return found != state.links.end() ? &*found : nullptr;
}

const PortState* earlier(const LinkState& state, const PortState& port) {
    const auto found = std::find_if(state.ports.begin(), state.ports.end(), [&](const PortState& each) {
        return each.board == port.board && each.port == port.port;
    });
    return found != state.ports.end() ? &*found : nullptr;
}

} // namespace gbe
