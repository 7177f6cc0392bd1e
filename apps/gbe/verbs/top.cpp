// gbe top: what goes over all ports, of all programs.
#include "common/terminal_text.h"
#include "gbe/Context.h"
#include "gbe/Interrupt.h"
#include "gbe/Json.h"
#include "gbe/LinkState.h"
#include "gbe/Table.h"
#include "gbe/Terminal.h"
#include "gbe/open_metrics.h"
#include "gbe/options.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>

#include <algorithm>
#include <cinttypes>
#include <ctime>
#include <map>
#include <memory>

namespace gbe {
namespace {

using Names = std::map<Mac, std::string>;

struct Request {
    double interval = 1;
    bool once = false;
    bool metrics = false;
    bool noScan = false;
};

constexpr double kMicrosecond = 1e3; // nanoseconds
constexpr double kSecond = 1e9;
constexpr double kMegabyte = 1e6;

// A program that has begun anew counts from 0 again: then there is no rate.
double rate(std::uint64_t before, std::uint64_t now, double seconds) {
    return now >= before && seconds > 0 ? static_cast<double>(now - before) / seconds : 0;
}

std::string fixed(double value, int digits) {
    return QString::number(value, 'f', digits).toStdString();
}

// What has become of a link since an earlier state.
struct LinkRates {
    double commands = 0;  // a second
    double roundTrip = 0; // microseconds; of those in between, else of the last one
    double images = 0;
    double megabytes = 0;
};

LinkRates ratesOf(const GbeLinkStatistics& now, const GbeLinkStatistics* then, double seconds) {
    LinkRates rates;
    rates.roundTrip = static_cast<double>(now.lastRoundTripNs) / kMicrosecond;
    if (then == nullptr) {
        return rates;
    }
    rates.commands = rate(then->commands, now.commands, seconds);
    rates.images = rate(then->images, now.images, seconds);
    rates.megabytes = rate(then->imageBytes, now.imageBytes, seconds) / kMegabyte;
    if (now.roundTrips > then->roundTrips && now.roundTripNs >= then->roundTripNs) {
        rates.roundTrip = static_cast<double>(now.roundTripNs - then->roundTripNs) /
                          static_cast<double>(now.roundTrips - then->roundTrips) / kMicrosecond;
    }
    return rates;
}

const char* useText(int use) {
    static constexpr const char* kTexts[] = {"", "control", "reading", "LOST"};
    static_assert(std::size(kTexts) == GBE_LINK_LOST + 1);
    return kTexts[use];
}

std::string placeText(int board, unsigned port) {
    return std::to_string(board) + ":" + std::to_string(port);
}

std::string cameraText(const GbeLinkStatistics& link, const Names& names) {
    const Mac mac = Mac::at(link.mac);
    const auto found = names.find(mac);
    return mac.isNone() ? "-" : found != names.end() && !found->second.empty() ? found->second : mac.text();
}

double secondsBetween(const LinkState& then, const LinkState& now) {
    return std::chrono::duration<double>(now.time - then.time).count();
}

void printPorts(const LinkState& then, const LinkState& now) {
    const double seconds = secondsBetween(then, now);
    Table table({"PORT", "LINK", "INTERFACE", "ADDRESS", "IN/s", "OUT/s", "IN MB/s", "ERRORS", "DROPPED"});
    for (const PortState& port : now.ports) {
        std::vector<std::string> row{
            placeText(port.board, port.port), port.linkUp ? (*port.linkUp ? "up" : "down") : "?",
            port.interface.empty() ? "-" : port.interface, port.ip.isNone() ? "-" : port.ip.text()};
        const PortState* const before = earlier(then, port);
        if (port.counts && before != nullptr && before->counts) {
            const InterfaceCounts& from = *before->counts;
            const InterfaceCounts& to = *port.counts;
            row.push_back(fixed(rate(from.receivedFrames, to.receivedFrames, seconds), 0));
            row.push_back(fixed(rate(from.sentFrames, to.sentFrames, seconds), 0));
            row.push_back(fixed(rate(from.receivedBytes, to.receivedBytes, seconds) / kMegabyte, 1));
            row.push_back(std::to_string(to.errors));
            row.push_back(std::to_string(to.dropped));
        }
        table.add(std::move(row));
    }
    table.print();
}

bool hadStream(const GbeLinkStatistics& link) {
    return link.streamPackets != 0 || link.images != 0;
}

// Opening a board opens its four ports; a program that uses one of them leaves the others alone.
bool isIdle(const GbeLinkStatistics& link, const LinkState& now) {
    const auto isUsed = [&](const GbeLinkStatistics& each) {
        return each.pid == link.pid && (each.use != GBE_LINK_FREE || hadStream(each));
    };
    return !isUsed(link) && std::any_of(now.links.begin(), now.links.end(), isUsed);
}

void printLinks(const LinkState& then, const LinkState& now, const Names& names) {
    const double seconds = secondsBetween(then, now);
    Table table(
        {"CAMERA", "PORT", "PROGRAM", "USE", "CMD/s", "TRIP us", "BEAT s", "LOST", "REPEATED", "REFUSED",
         "IMAGES/s", "MB/s", "IMG LOST", "RESENT"});
    for (const GbeLinkStatistics& link : now.links) {
        if (isIdle(link, now)) {
            continue;
        }
        const LinkRates rates = ratesOf(link, earlier(then, link), seconds);
        const bool beats = link.use == GBE_LINK_CONTROL && link.heartbeatAgeNs != UINT64_MAX;
        std::vector<std::string> row{
            cameraText(link, names),
            placeText(link.board, link.port),
            std::string(link.program) + " (" + std::to_string(link.pid) + ")",
            useText(link.use),
            fixed(rates.commands, 0),
            link.roundTrips != 0 ? fixed(rates.roundTrip, 0) : "-",
            beats ? fixed(static_cast<double>(link.heartbeatAgeNs) / kSecond, 1) : "-",
            std::to_string(link.unanswered),
            std::to_string(link.repeated),
            std::to_string(link.refused)};
        if (link.streamOpen != 0) {
            row.push_back(fixed(rates.images, 1));
            row.push_back(fixed(rates.megabytes, 1));
        } else if (link.use != GBE_LINK_FREE || hadStream(link)) {
            row.insert(row.end(), {"no stream", "-"});
        }
        if (link.streamOpen != 0 || hadStream(link)) {
            row.push_back(std::to_string(link.imagesLost + link.imagesBroken + link.imagesDropped));
            row.push_back(std::to_string(link.resentPackets));
        }
        table.add(std::move(row));
    }
    table.print();
}

// Found by the scan, and nobody works with them.
void printIdle(const LinkState& now, const Names& names) {
    for (const auto& [mac, name] : names) {
        const bool isUsed = std::any_of(
            now.links.begin(), now.links.end(), [&](const auto& link) { return Mac::at(link.mac) == mac; });
        if (!isUsed) {
            std::printf(
                "%s%s%s: not in use by a program here\n", mac.text().c_str(), name.empty() ? "" : " ",
                common::terminalText(name).c_str());
        }
    }
}

void printScreen(const LinkState& then, const LinkState& now, const Names& names, bool isTerminal) {
    if (isTerminal) {
        std::printf("\x1b[H\x1b[J"); // from the top, on an empty screen
    }
    if (!now.serviceAnswers) {
        std::printf("the service does not answer (gbe doctor tells more)\n");
    }
    printPorts(then, now);
    std::printf("\n");
    printLinks(then, now, names);
    printIdle(now, names);
    std::printf(isTerminal ? "" : "\n");
    flushOutput();
}

QJsonValue number(std::uint64_t value) {
    return static_cast<qint64>(value);
}

QJsonObject objectOf(const PortState& port) {
    QJsonObject object{
        {"board", port.board},
        {"port", static_cast<int>(port.port)},
        {"linkUp", port.linkUp ? QJsonValue(*port.linkUp) : QJsonValue()},
        {"mac", QString::fromStdString(port.mac.text())}};
    if (!port.interface.empty()) {
        object.insert("interface", QString::fromStdString(port.interface));
    }
    if (port.counts) {
        object.insert("receivedFrames", number(port.counts->receivedFrames));
        object.insert("receivedBytes", number(port.counts->receivedBytes));
        object.insert("sentFrames", number(port.counts->sentFrames));
        object.insert("sentBytes", number(port.counts->sentBytes));
        object.insert("errors", number(port.counts->errors));
        object.insert("dropped", number(port.counts->dropped));
    }
    return object;
}

QJsonObject objectOf(const GbeLinkStatistics& link, const GbeLinkStatistics* then, double seconds) {
    const LinkRates rates = ratesOf(link, then, seconds);
    const auto age = [](std::uint64_t time) {
        return time != UINT64_MAX ? QJsonValue(static_cast<double>(time) / kSecond) : QJsonValue();
    };
    const Mac mac = Mac::at(link.mac);
    return {
        {"board", link.board},
        {"port", static_cast<int>(link.port)},
        {"program", link.program},
        {"pid", link.pid},
        {"camera", mac.isNone() ? QJsonValue() : QJsonValue(QString::fromStdString(mac.text()))},
        {"use", link.use == GBE_LINK_FREE ? "free" : QString(useText(link.use)).toLower()},
        {"commandsPerSecond", rates.commands},
        {"roundTripMicroseconds", rates.roundTrip},
        {"streamOpen", link.streamOpen != 0},
        {"imagesPerSecond", rates.images},
        {"megabytesPerSecond", rates.megabytes},
        {"heartbeatAge", age(link.heartbeatAgeNs)},
        {"answerAge", age(link.answerAgeNs)},
        {"framesSent", number(link.framesSent)},
        {"framesReceived", number(link.framesReceived)},
        {"commands", number(link.commands)},
        {"repeated", number(link.repeated)},
        {"unanswered", number(link.unanswered)},
        {"refused", number(link.refused)},
        {"heartbeats", number(link.heartbeats)},
        {"images", number(link.images)},
        {"imagesBroken", number(link.imagesBroken)},
        {"imagesLost", number(link.imagesLost)},
        {"imagesDropped", number(link.imagesDropped)},
        {"missingPackets", number(link.missingPackets)},
        {"resentPackets", number(link.resentPackets)}};
}

void printObject(const LinkState& then, const LinkState& now) {
    QJsonArray ports;
    for (const PortState& port : now.ports) {
        ports.append(objectOf(port));
    }
    QJsonArray links;
    for (const GbeLinkStatistics& link : now.links) {
        links.append(objectOf(link, earlier(then, link), secondsBetween(then, now)));
    }
    printLine(
        {{"time", QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
         {"ports", ports},
         {"links", links}});
}

// Those of the chosen board. Where that cannot be opened only those are shown that somebody works with.
Names namesOfCameras(const Selection& selection) {
    Names names;
    try {
        const Board board = openBoard(selection.board);
        for (const FoundCamera& camera : findCameras(board.get(), selection)) {
            names.emplace(Mac::at(camera.info.mac), fieldText(camera.info.userDefinedName));
        }
    } catch (const Failure& failure) {
        complain("no scan: " + std::string(failure.what()));
    }
    return names;
}

// A signal ends it early.
void sleep(double seconds) {
    timespec time{};
    time.tv_sec = static_cast<time_t>(seconds);
    time.tv_nsec = static_cast<long>((seconds - static_cast<double>(time.tv_sec)) * kSecond);
    nanosleep(&time, nullptr);
}

ExitStatus watch(const Context& context, const Request& request) {
    const std::optional<int> board =
        context.selection.boardGiven ? std::optional(context.selection.board) : std::nullopt;
    if (request.metrics) {
        std::fputs(openMetrics(lookAtLinks(board)).c_str(), stdout);
        return ExitStatus::Success;
    }
    const Names names = request.noScan || context.json ? Names{} : namesOfCameras(context.selection);
    const Interrupt interrupt;
    const bool isTerminal = isatty(STDOUT_FILENO) != 0 && !request.once;
    for (LinkState then = lookAtLinks(board); !interrupt.asked();) {
        sleep(request.interval);
        LinkState now = lookAtLinks(board);
        context.json ? printObject(then, now) : printScreen(then, now, names, isTerminal);
        if (request.once) {
            break;
        }
        then = std::move(now);
    }
    return ExitStatus::Success;
}

Run define(CLI::App& command, Context& context) {
    const auto request = std::make_shared<Request>();
    command.add_option("--interval", request->interval, "Seconds between two looks (default: 1)")
        ->check(within(0.05, 3600.0))
        ->type_name("SECONDS");
    command.add_flag("--once", request->once, "One look, and what happened in one interval");
    command.add_flag("--no-scan", request->noScan, "Does not look for cameras first");
    CLI::Option* const metrics = command.add_flag(
        "--openmetrics", request->metrics, "The figures as they are now, in the format of OpenMetrics");
    addJson(command, context);
    command.get_option("--json")->excludes(metrics);
    return [=, &context] { return watch(context, *request); };
}

constexpr Example kExamples[] = {
    {"gbe top --once", "what happened in one second"},
    {"gbe top --once --json --interval 0.2", "the same for a program"},
    {"gbe top --openmetrics", "for a collector of metrics"},
};

} // namespace

extern const Verb kTopVerb{
    "top",
    Group::Trouble,
    "Shows what goes over all ports, of all programs, until Ctrl-C",
    &define,
    kExamples,
    "Of each port the link and what Linux counts on its interface; of each program that uses a port the "
    "commands a second, how long their round trip takes, how old the last heartbeat is, how many commands "
    "were given up (LOST), sent again and refused, and the images that it fetches, a second, with those that it "
    "has lost or had to drop. Programs show their figures to who may "
    "talk to the service; nothing is sent for it but the scan at the beginning, which finds cameras that "
    "nobody works with."};

} // namespace gbe
