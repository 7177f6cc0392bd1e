// The commands by which a person or a test acts on the cameras while they run. docs/gbe-simcam.md lists them.
#pragma once

#include "Segment.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace gbe_simcam {

struct Reply {
    bool ok = true;
    std::vector<std::string> lines; // of a failure one, which says what is wrong
};

class Console {
public:
    // The segment is the caller's and outlives this. `quit` ends the program.
    Console(Segment& segment, std::function<void()> quit) : m_segment(segment), m_quit(std::move(quit)) {}

    Reply run(std::string_view line);

private:
    using Words = std::vector<std::string_view>;
    using Camera = simcam::Camera;
    struct Command;
    static const std::vector<Command>& commands();

    Reply list();
    static Reply help();
    Reply forCameras(std::string_view which, std::string_view name, std::string_view rest);

    static Reply fault(Camera& camera, std::string_view rest);
    static Reply link(Camera& camera, std::string_view rest);
    static Reply slowWrite(Camera& camera, std::string_view rest);
    static Reply reboot(Camera& camera, std::string_view rest);
    static Reply silent(Camera& camera, std::string_view rest);
    static Reply get(Camera& camera, std::string_view rest);
    static Reply set(Camera& camera, std::string_view rest);
    static Reply statistics(Camera& camera, std::string_view rest);

    Segment& m_segment;
    std::function<void()> m_quit;
};

} // namespace gbe_simcam
