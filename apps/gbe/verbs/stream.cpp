// gbe stream: how well a camera's images come.
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/ImageStream.h"
#include "gbe/Interrupt.h"
#include "gbe/Json.h"
#include "gbe/Progress.h"
#include "gbe/features.h"
#include "gbe/options.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <utility>

namespace gbe {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kLine{500};     // between two looks at a terminal's line,
constexpr milliseconds kObject{1000};  // two objects of JSON,
constexpr milliseconds kSilence{3000}; // and two questions why nothing comes
constexpr double kMegabyte = 1e6;

struct Rates {
    double seconds = 0; // since the beginning
    double frames = 0;  // a second
    double megabytes = 0;
};

// Images that did not come whole.
std::uint64_t lostOf(const GbeStreamStatistics& now) {
    return now.incomplete + now.lostImages;
}

std::uint64_t droppedOf(const GbeStreamStatistics& now) {
    return now.droppedArriving + now.droppedOldest;
}

Rates ratesOf(
    const GbeStreamStatistics& from, const GbeStreamStatistics& to, Clock::duration time, double seconds) {
    const double interval = std::max(std::chrono::duration<double>(time).count(), 1e-3);
    return {
        seconds, static_cast<double>(to.complete - from.complete) / interval,
        static_cast<double>(to.bytes - from.bytes) / kMegabyte / interval};
}

std::string lineOf(const GbeStreamStatistics& now, const Rates& rates) {
    char text[256];
    std::snprintf(
        text, sizeof text,
        "%.1f frames/s  %.1f MB/s  frames lost %" PRIu64 ", dropped %" PRIu64 "  packets resent %" PRIu64
        ", late %" PRIu64,
        rates.frames, rates.megabytes, lostOf(now), droppedOf(now), now.resentPackets, now.late);
    return text;
}

QJsonValue number(std::uint64_t value) {
    return static_cast<qint64>(value);
}

QJsonObject objectOf(const GbeStreamStatistics& now, const Rates& rates) {
    return {
        {"seconds", rates.seconds},
        {"framesPerSecond", rates.frames},
        {"megabytesPerSecond", rates.megabytes},
        {"complete", number(now.complete)},
        {"incomplete", number(now.incomplete)},
        {"lostImages", number(now.lostImages)},
        {"droppedArriving", number(now.droppedArriving)},
        {"droppedOldest", number(now.droppedOldest)},
        {"packets", number(now.packets)},
        {"bytes", number(now.bytes)},
        {"missingPackets", number(now.missingPackets)},
        {"resendRequests", number(now.resendRequests)},
        {"requestedPackets", number(now.requestedPackets)},
        {"resentPackets", number(now.resentPackets)},
        {"unavailable", number(now.unavailable)},
        {"duplicates", number(now.duplicates)},
        {"late", number(now.late)},
        {"malformed", number(now.malformed)},
        {"overrun", number(now.overrun)},
        {"packetSize", static_cast<qint64>(now.packetSize)},
    };
}

class Watch {
public:
    Watch(ImageStream& stream, double seconds, bool terminal)
        : m_stream(stream), m_seconds(seconds), m_terminal(terminal) {}

    // Images come and go until the time is over, or the user wants no more. False when time went by without
    // any.
    bool run();

private:
    bool lookForImage();
    void tellLink(bool isThere);
    double elapsed() const { return std::chrono::duration<double>(Clock::now() - m_begin).count(); }
    void report(Clock::time_point now);
    void tellTrouble(Clock::time_point now);
    void conclude();

    ImageStream& m_stream;
    const double m_seconds;
    const bool m_terminal;
    Progress m_progress;
    Interrupt m_interrupt;
    const Clock::time_point m_begin = Clock::now();
    Clock::time_point m_reported = m_begin;
    Clock::time_point m_heard = m_begin; // of an image, or asked why there was none
    GbeStreamStatistics m_then{};
    std::string m_trouble;
    bool m_isLinked = true;
};

bool Watch::run() {
    bool any = false;
    try {
        while (!m_interrupt.asked() && (m_seconds <= 0 || elapsed() < m_seconds)) {
            any = lookForImage() || any;
            const auto now = Clock::now();
            if (now - m_reported >= (m_terminal ? kLine : kObject)) {
                report(now);
            }
        }
    } catch (const Failure& failure) {
        if (failure.status() == ExitStatus::Lost) {
            conclude();
        }
        throw;
    }
    conclude();
    return any || m_interrupt.asked();
}

// Whether one came that is not empty.
bool Watch::lookForImage() {
    GbeImage image{};
    const Came came = m_stream.wait(milliseconds(50), m_interrupt, image);
    const auto now = Clock::now();
    tellLink(came != Came::NoLink);
    if (came == Came::Image) {
        m_stream.giveBack(image);
    }
    const bool isImage = came == Came::Image && image.missingBytes < image.size;
    if (isImage || came == Came::NoLink) {
        m_heard = now;
    } else if (now - m_heard >= kSilence) {
        tellTrouble(now);
    }
    return isImage;
}

// When it goes, and when it comes back.
void Watch::tellLink(bool isThere) {
    if (isThere != std::exchange(m_isLinked, isThere)) {
        std::printf(m_terminal ? "\n" : "");
        complain(
            isThere ? "the link is back"
                    : std::string(Gbe_getLastErrorDetail()) + "; images go on when it comes back in time");
    }
}

void Watch::report(Clock::time_point now) {
    const GbeStreamStatistics statistics = m_stream.statistics();
    const Rates rates = ratesOf(m_then, statistics, now - m_reported, elapsed());
    if (m_terminal) {
        std::printf("\r%s\x1b[K", lineOf(statistics, rates).c_str());
        flushOutput();
    } else {
        printLine(objectOf(statistics, rates));
    }
    m_then = statistics;
    m_reported = now;
}

// Once for each reason: silence may be long.
void Watch::tellTrouble(Clock::time_point now) {
    const std::string trouble = m_stream.trouble();
    if (trouble != m_trouble && !trouble.empty()) {
        std::printf(m_terminal ? "\n" : "");
        complain("no image comes: " + trouble);
    }
    m_trouble = trouble;
    m_heard = now;
}

void Watch::conclude() {
    const GbeStreamStatistics statistics = m_stream.statistics();
    const Rates rates = ratesOf({}, statistics, Clock::now() - m_begin, elapsed());
    if (m_terminal) {
        std::printf(
            "\r%" PRIu64 " frames in %.1f s: %s\x1b[K\n", statistics.complete, rates.seconds,
            lineOf(statistics, rates).c_str());
    } else {
        QJsonObject whole = objectOf(statistics, rates);
        whole.insert("whole", true); // its rates are those of all the time
        printLine(whole);
    }
}

// Without end when `seconds` is 0.
void streamImages(Context& context, const StreamRequest& request, double seconds) {
    const std::vector<Setting> settings = parseSettings(request.settings);
    GbeStreamOptions options;
    Gbe_initStreamOptions(&options);
    options.packetSize = parsePacketSize(request.packetSize);
    CameraHandle* camera = context.session(request.purpose).camera.get();
    prepareCamera(camera, settings);
    ImageStream stream(camera, options);
    stream.start();
    if (!Watch(stream, seconds, !context.json && isatty(STDOUT_FILENO) != 0).run()) {
        throw Failure("waiting for an image", GBE_ERROR_TIMEOUT, stream.trouble());
    }
}

Run define(CLI::App& command, Context& context) {
    const auto request = std::make_shared<StreamRequest>();
    const auto seconds = std::make_shared<double>();
    addSeconds(command, "--seconds", *seconds, "Ends by itself after that time (default: at Ctrl-C)", 0.001);
    addStreamOptions(command, context, *request);
    addJson(command, context);
    return [=, &context] {
        streamImages(context, *request, *seconds);
        return ExitStatus::Success;
    };
}

constexpr Example kExamples[] = {
    {"gbe stream --seconds 2", "for two seconds; without the option until Ctrl-C"},
    {"gbe stream --seconds 2 --json", "an object a second, and one for the whole"},
};

} // namespace

extern const Verb kStreamVerb{
    "stream",
    Group::Images,
    "Shows how images come, until Ctrl-C",
    &define,
    kExamples,
    "On a terminal one line is written over and over again; anywhere else it is JSON. A link that is "
    "gone is waited for as long as control of the camera is not lost: the camera keeps it for some seconds. Then "
    "it ends with status 6."};

} // namespace gbe
