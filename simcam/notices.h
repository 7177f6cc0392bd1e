// What happens to the camera that a person may want to know.
#pragma once

#include <functional>
#include <string>

namespace simcam {

enum class Notice {
    NewAddress, // it can be reached at a new address
    Conflict,   // another station has its address
    Control,    // who controls it has changed
    Reboot,     // it reboots, or is up again
    State,      // what it keeps without power could not be written
};

// `line` says it in words. Called from the camera's thread or from whoever acts on the camera, with the
// camera locked: it must not call the camera back.
using NoticeSink = std::function<void(Notice notice, const std::string& line)>;

inline void tell(const NoticeSink& notices, Notice notice, const std::string& line) {
    if (notices) {
        notices(notice, line);
    }
}

} // namespace simcam
