// The exit statuses of gbe: one table, which the help and the manual show.
#pragma once

#include <span>

namespace gbe {

enum class ExitStatus {
    Success = 0,
    Other = 1,
    Usage = 2,
    NoCamera = 3,
    CameraBusy = 4,
    Refused = 5,
    Lost = 6,
    NoRight = 7,
    NoService = 8
};

struct ExitMeaning {
    ExitStatus status;
    const char* meaning;
};

// In the order of their numbers.
std::span<const ExitMeaning> exitMeanings();

// What a status of the library comes to, as the end of a verb.
ExitStatus exitStatusOf(int code);

} // namespace gbe
