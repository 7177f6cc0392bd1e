#include "open_metrics.h"

#include "numbers.h"

#include <functional>

namespace gbe {
namespace {

constexpr double kSecond = 1e9; // nanoseconds

// Backslashes, quotes and line feeds have to be marked in the value of a label.
std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        result += c == '\n' ? "\\n" : c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return result + "\"";
}

// All samples of one family follow each other, behind what it is.
void addFamily(
    std::string& out, const char* name, const char* type, const char* unit, const char* help,
    const std::string& samples) {
    if (samples.empty()) {
        return;
    }
    const std::string family = std::string("liomol_") + name;
    out += "# TYPE " + family + " " + type + "\n";
    out += *unit != '\0' ? "# UNIT " + family + " " + unit + "\n" : "";
    out += "# HELP " + family + " " + help + "\n" + samples;
}

std::string sample(const std::string& name, const std::string& labels, const std::string& value) {
    return "liomol_" + name + "{" + labels + "} " + value + "\n";
}

std::string placeLabels(int board, unsigned port) {
    return "board=" + quoted(std::to_string(board)) + ",port=" + quoted(std::to_string(port));
}

std::string labelsOf(const PortState& port) {
    return placeLabels(port.board, port.port) + ",interface=" + quoted(port.interface);
}

std::string labelsOf(const GbeLinkStatistics& link) {
    const Mac mac = Mac::at(link.mac);
    return placeLabels(link.board, link.port) + ",program=" + quoted(link.program) +
           ",pid=" + quoted(std::to_string(link.pid)) + ",camera=" + quoted(mac.isNone() ? "" : mac.text());
}

struct LinkCounter {
    const char* name;
    std::uint64_t GbeLinkStatistics::*value;
    const char* help;
};
constexpr LinkCounter kLinkCounters[] = {
    {"frames_sent", &GbeLinkStatistics::framesSent, "Control frames that a program has sent."},
    {"frames_received", &GbeLinkStatistics::framesReceived, "Control frames that a program has received."},
    {"commands", &GbeLinkStatistics::commands, "GVCP commands."},
    {"commands_repeated", &GbeLinkStatistics::repeated, "GVCP commands that were sent again."},
    {"commands_unanswered", &GbeLinkStatistics::unanswered, "GVCP commands that were given up."},
    {"commands_refused", &GbeLinkStatistics::refused, "GVCP commands that were answered with an error."},
    {"heartbeats", &GbeLinkStatistics::heartbeats, "Heartbeats that the camera answered."},
    {"images", &GbeLinkStatistics::images, "Images that were handed out."},
    {"images_broken", &GbeLinkStatistics::imagesBroken, "Images that were handed out with holes."},
    {"images_lost", &GbeLinkStatistics::imagesLost, "Images of which nothing arrived."},
    {"images_dropped", &GbeLinkStatistics::imagesDropped, "Images that found no free buffer."},
    {"stream_packets", &GbeLinkStatistics::streamPackets, "Packets of image streams."},
    {"stream_packets_missing", &GbeLinkStatistics::missingPackets, "Packets that never came."},
    {"stream_packets_resent", &GbeLinkStatistics::resentPackets, "Packets that came when asked for again."},
    {"stream_packets_overrun", &GbeLinkStatistics::overrun, "Packets that this computer was too slow for."},
};

struct PortCounter {
    const char* name;
    std::uint64_t InterfaceCounts::*value;
    const char* help;
};
constexpr PortCounter kPortCounters[] = {
    {"interface_frames_received", &InterfaceCounts::receivedFrames, "Frames that an interface received."},
    {"interface_frames_sent", &InterfaceCounts::sentFrames, "Frames that an interface sent."},
    {"interface_errors", &InterfaceCounts::errors, "Errors of an interface in either direction."},
    {"interface_dropped", &InterfaceCounts::dropped, "Frames that an interface dropped."},
};

void addPorts(std::string& out, const LinkState& state) {
    std::string samples;
    for (const PortState& port : state.ports) {
        samples += port.linkUp ? sample("link_up", labelsOf(port), *port.linkUp ? "1" : "0") : "";
    }
    addFamily(out, "link_up", "gauge", "", "Whether a port has a link.", samples);
    for (const PortCounter& counter : kPortCounters) {
        samples.clear();
        for (const PortState& port : state.ports) {
            samples += port.counts ? sample(
                                         std::string(counter.name) + "_total", labelsOf(port),
                                         std::to_string((*port.counts).*counter.value))
                                   : "";
        }
        addFamily(out, counter.name, "counter", "", counter.help, samples);
    }
}

using ValueOf = std::function<std::string(const GbeLinkStatistics&)>;

// What gives no value is left out.
std::string samplesOf(const LinkState& state, const std::string& name, const ValueOf& valueOf) {
    std::string samples;
    for (const GbeLinkStatistics& link : state.links) {
        const std::string value = valueOf(link);
        samples += value.empty() ? "" : sample(name, labelsOf(link), value);
    }
    return samples;
}

// The samples of one program belong together.
std::string roundTrips(const LinkState& state) {
    const std::string name = "round_trip_seconds";
    std::string samples;
    for (const GbeLinkStatistics& link : state.links) {
        const double sum = static_cast<double>(link.roundTripNs) / kSecond;
        samples += sample(name + "_count", labelsOf(link), std::to_string(link.roundTrips)) +
                   sample(name + "_sum", labelsOf(link), numberText(sum));
    }
    return samples;
}

std::string ageText(std::uint64_t nanoseconds) {
    return nanoseconds != UINT64_MAX ? numberText(static_cast<double>(nanoseconds) / kSecond) : "";
}

} // namespace

std::string openMetrics(const LinkState& state) {
    std::string out;
    addPorts(out, state);
    for (const LinkCounter& counter : kLinkCounters) {
        const std::string samples =
            samplesOf(state, std::string(counter.name) + "_total", [&](const GbeLinkStatistics& link) {
                return std::to_string(link.*counter.value);
            });
        addFamily(out, counter.name, "counter", "", counter.help, samples);
    }
    addFamily(
        out, "image_bytes", "counter", "bytes", "Bytes of images that were handed out.",
        samplesOf(state, "image_bytes_total", [](const GbeLinkStatistics& link) {
            return std::to_string(link.imageBytes);
        }));
    addFamily(
        out, "round_trip_seconds", "summary", "seconds",
        "Round trips of GVCP commands that were not repeated.", roundTrips(state));
    addFamily(
        out, "heartbeat_age_seconds", "gauge", "seconds", "Time since the latest heartbeat was answered.",
        samplesOf(state, "heartbeat_age_seconds", [](const GbeLinkStatistics& link) {
            return ageText(link.heartbeatAgeNs);
        }));
    addFamily(
        out, "camera_in_control", "gauge", "", "Whether the program has control of the camera.",
        samplesOf(state, "camera_in_control", [](const GbeLinkStatistics& link) {
            return std::string(link.use == GBE_LINK_CONTROL ? "1" : "0");
        }));
    return out + "# EOF\n";
}

} // namespace gbe
