// Lines that a person types at a terminal: edited, completed and remembered.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace gbe {

// One at a time: the library behind it has one terminal. Where gbe was built without that library, lines are
// read as they come.
class LineEditor {
public:
    // What the last of the words so far may become; each takes its place.
    using Complete = std::function<std::vector<std::string>(const std::vector<std::string>& words)>;

    // The history lies in a file below $XDG_STATE_HOME (~/.local/state).
    explicit LineEditor(Complete complete);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    // Nothing at the end of the input. A line that the person has dropped (Ctrl-C) is empty.
    std::optional<std::string> read(const char* prompt);
};

} // namespace gbe
