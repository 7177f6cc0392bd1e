// The plug between a port of the software board and what hangs on it: something that takes and gives
// Ethernet frames. The board knows nothing of cameras, the camera nothing of boards; both know this.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace ethernet {

// Takes a frame from its first to its last byte, without preamble and frame check sequence. The bytes are
// the caller's and valid only during the call.
using FrameSink = std::function<void(const std::uint8_t* frame, std::size_t size)>;

// One station on an Ethernet. All calls may come from any thread.
class Endpoint {
public:
    virtual ~Endpoint() = default;

    // Where the station's own frames go from now on, called from the station's threads; an empty sink unplugs
    // it. When the call returns, the earlier sink is not in use any more and never will be.
    virtual void plug(FrameSink sink) = 0;

    // A frame arrives at the station. Returns at once: the station works on it in a thread of its own, and
    // drops it when it is too far behind.
    virtual void receive(const std::uint8_t* frame, std::size_t size) = 0;
};

// Settings as a configuration file gives them: key and text.
using Settings = std::map<std::string, std::string>;

// Makes a camera in software. On a bad setting the result is null and `error` says in one line what is wrong.
// Defined by simcam; the software board calls it for each camera of its configuration.
std::unique_ptr<Endpoint> makeCamera(const Settings& settings, std::string& error);

} // namespace ethernet
