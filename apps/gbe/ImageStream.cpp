#include "ImageStream.h"

#include "Failure.h"
#include "FeatureWatch.h"
#include "Interrupt.h"
#include "features.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <system_error>
#include <thread>

namespace gbe {
namespace {

// How soon a wait notices that the user wants no more.
constexpr std::chrono::milliseconds kSlice{100};
constexpr unsigned kTroubleText = 1024;

bool hasFeature(CameraHandle* camera, const std::string& name) {
    int kind = GBE_KIND_OTHER;
    return Gbe_getFeatureKind(camera, name.c_str(), &kind) == 0;
}

[[noreturn]] void failAsLost(const std::string& why) {
    throw Failure("control of the camera is lost: " + why, ExitStatus::Lost);
}

// Behind a wait that has ended for want of a connection: what the library says of it tells which.
Came withoutConnection() {
    const std::string why = Gbe_getLastErrorDetail();
    if (!why.starts_with(kNoLink)) {
        failAsLost(why);
    }
    std::this_thread::sleep_for(kSlice); // the library says it at once, while waiting should take its time
    return Came::NoLink;
}

} // namespace

int parsePacketSize(const std::string& text) {
    if (text == "auto") {
        return GBE_PACKET_SIZE_AUTO;
    }
    if (text == "keep") {
        return GBE_PACKET_SIZE_KEEP;
    }
    int bytes = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, bytes);
    if (error != std::errc() || end != last || bytes <= 0) {
        throw Failure(
            "packet size \"" + text + "\": is neither auto, keep nor a number of bytes", ExitStatus::Usage);
    }
    return bytes;
}

void prepareCamera(CameraHandle* camera, const std::vector<Setting>& settings) {
    constexpr const char* kMode = "AcquisitionMode";
    for (const Setting& setting : settings) {
        apply(camera, setting);
    }
    const bool chosen =
        std::any_of(settings.begin(), settings.end(), [](const auto& each) { return each.name == kMode; });
    if (!chosen && hasFeature(camera, kMode) && readText(camera, kMode) != "Continuous") {
        writeText(camera, kMode, "Continuous");
    }
}

SoftwareTrigger::SoftwareTrigger(CameraHandle* camera) : m_camera(camera) {
    try {
        for (const auto& [name, value] :
             {std::pair{"TriggerSelector", "FrameStart"},
              {"TriggerSource", "Software"},
              {"TriggerMode", "On"}}) {
            if (hasFeature(camera, name)) { // a camera with one kind of trigger has no selector
                m_before.emplace_back(name, readText(camera, name));
                writeText(camera, name, value);
            }
        }
        featureKind(camera, "TriggerSoftware"); // throws when there is none
    } catch (...) {
        restore();
        throw;
    }
}

SoftwareTrigger::~SoftwareTrigger() {
    restore();
}

// In the order of the changes: the selector, which was set first, is put back last.
void SoftwareTrigger::restore() {
    std::reverse(m_before.begin(), m_before.end());
    for (const auto& [name, value] : m_before) {
        try {
            writeText(m_camera, name, value);
        } catch (const Failure&) { // the camera has gone: what ends the command says so
        }
    }
}

void SoftwareTrigger::fire() {
    check("TriggerSoftware", Gbe_executeCommand(m_camera, "TriggerSoftware"));
}

ImageStream::ImageStream(CameraHandle* camera, const GbeStreamOptions& options) : m_camera(camera) {
    const std::string size =
        options.packetSize > 0 ? " in packets of " + std::to_string(options.packetSize) + " bytes" : "";
    check("getting ready for images" + size, Gbe_openStream(camera, &options, &m_stream));
}

ImageStream::~ImageStream() {
    if (m_started) {
        Gbe_stopAcquisition(m_camera);
    }
    Gbe_closeStream(m_stream);
}

void ImageStream::start() {
    check("starting the acquisition", Gbe_startAcquisition(m_camera));
    m_started = true;
}

Came ImageStream::wait(std::chrono::milliseconds time, const Interrupt& interrupt, GbeImage& image) {
    const auto deadline = std::chrono::steady_clock::now() + time;
    int code = GBE_ERROR_TIMEOUT;
    while (code == GBE_ERROR_TIMEOUT && !interrupt.asked()) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        code =
            Gbe_waitImage(m_stream, static_cast<int>(std::clamp(left, left.zero(), kSlice).count()), &image);
        if (code == GBE_ERROR_TIMEOUT && left <= left.zero()) {
            return Came::Nothing;
        }
    }
    if (code == GBE_ERROR_CONNECTION) {
        return withoutConnection();
    }
    if (code != GBE_ERROR_TIMEOUT) {
        check("waiting for an image", code);
    }
    return code == GBE_SUCCESS ? Came::Image : Came::Nothing;
}

void ImageStream::giveBack(const GbeImage& image) {
    check("giving an image back", Gbe_giveBackImage(m_stream, image.id));
}

GbeStreamStatistics ImageStream::statistics() {
    GbeStreamStatistics statistics{};
    check("statistics", Gbe_getStreamStatistics(m_stream, &statistics));
    return statistics;
}

std::string ImageStream::trouble() {
    char text[kTroubleText] = "";
    unsigned size = sizeof text;
    if (Gbe_getStreamTrouble(m_stream, text, &size) != 0 || *text == '\0') {
        return "";
    }
    // A camera that has restarted says that it was never told to send, and the heartbeat may not know yet.
    GbeControlStatus control{};
    if (Gbe_getControlStatus(m_camera, &control) == GBE_SUCCESS && control.loss != GBE_LOSS_NONE) {
        failAsLost(lossText(control.loss));
    }
    std::string reason = text; // a sentence
    if (reason.ends_with('.')) {
        reason.pop_back();
    }
    reason.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(reason.front())));
    return reason;
}

} // namespace gbe
