// What happens to the camera that a person may want to know, each in one line: its address, who controls it,
// reboots.
#pragma once

#include <functional>
#include <string>

namespace simcam {

// Called from the camera's thread or from whoever acts on the camera, with the camera locked: it must not
// call the camera back.
using NoticeSink = std::function<void(const std::string& line)>;

inline void tell(const NoticeSink& notices, const std::string& line) {
    if (notices) {
        notices(line);
    }
}

} // namespace simcam
