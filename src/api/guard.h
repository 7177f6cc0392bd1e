// How an exception of the library becomes the status of an exported call.
#pragma once

#include "liomol/exceptions.h"
#include "util/status.h"

#include <utility>

namespace api {

// Exceptions are caught by value: what is asked for its code is a copy, so that an exception's
// own class cannot change it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wcatch-value"

// Runs `work`, whose result is a status, and turns an exception of either family into its code. Other
// exceptions (the standard library's) leave the call: they are no answer of a camera.
template<typename Work> int guarded(Work&& work) {
    try {
        return std::forward<Work>(work)();
    } catch (tavo::CoreException e) { // NOLINT(misc-throw-by-value-catch-by-reference)
        return e.getErrno();
    } catch (tavo::GenICamException e) { // NOLINT(misc-throw-by-value-catch-by-reference)
        return e.getErrno();
    }
}

// The same, and tells `remember` first of a file that does not exist.
template<typename Work, typename Remember> int guarded(Work&& work, Remember&& remember) {
    return guarded([&] {
        try {
            return std::forward<Work>(work)();
        } catch (tavo::GicFileDoesNotExistException e) { // NOLINT(misc-throw-by-value-catch-by-reference)
            std::forward<Remember>(remember)(e.fileName());
            return e.getErrno();
        }
    });
}

#pragma GCC diagnostic pop

} // namespace api
