// Images of a camera for the length of a command, and what is set before they come.
#pragma once

#include "Session.h"
#include "features.h"

#include "liomol/images.h"

#include <chrono>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace gbe {

class Interrupt;

// "auto", "keep" or a number of bytes, as GbeStreamOptions.packetSize has it. Throws Failure.
int parsePacketSize(const std::string& text);

// Writes them in their order, up to the first that fails. Unless they say otherwise, the camera is to go on
// sending images until it is stopped. Throws Failure.
void prepareCamera(CameraHandle* camera, const std::vector<Setting>& settings);

// The camera's frames begin with commands of this program; what it had before is restored in the end. Throws
// Failure where the camera has no software trigger.
class SoftwareTrigger {
public:
    explicit SoftwareTrigger(CameraHandle* camera);
    ~SoftwareTrigger();
    SoftwareTrigger(const SoftwareTrigger&) = delete;
    SoftwareTrigger& operator=(const SoftwareTrigger&) = delete;

    void fire();

private:
    void restore();

    CameraHandle* m_camera;
    std::vector<std::pair<std::string, std::string>> m_before; // in the order of changes
};

// What a wait for an image has brought.
enum class Came {
    Image,
    Nothing, // the time is over, or the user wants no more
    NoLink,  // the link is gone, but not yet control of the camera: images may come again
};
inline constexpr std::string_view kNoLink = "the link is gone"; // as the library begins to say it

// All but the destructor throw Failure.
class ImageStream {
public:
    // Opens; nothing comes before start().
    ImageStream(CameraHandle* camera, const GbeStreamOptions& options);
    // Stops the camera, and closes.
    ~ImageStream();
    ImageStream(const ImageStream&) = delete;
    ImageStream& operator=(const ImageStream&) = delete;

    void start();
    // Images are the caller's until given back.
    Came wait(std::chrono::milliseconds time, const Interrupt& interrupt, GbeImage& image);
    void giveBack(const GbeImage& image);
    GbeStreamStatistics statistics();
    // Why nothing comes, as the end of a message; empty when nothing is known to be wrong. A Failure when it
    // is that control of the camera is lost.
    std::string trouble();

private:
    CameraHandle* m_camera;
    GbeStream* m_stream = nullptr;
    bool m_started = false;
};

} // namespace gbe
