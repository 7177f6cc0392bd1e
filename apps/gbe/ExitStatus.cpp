#include "ExitStatus.h"

#include "liomol/gige.h"

#include <algorithm>

namespace gbe {
namespace {

constexpr ExitMeaning kMeanings[] = {
    {ExitStatus::Success, "done"},
    {ExitStatus::Other, "anything that has no status of its own"},
    {ExitStatus::Usage, "usage: the command line is not understood"},
    {ExitStatus::NoCamera, "no camera: none is there, or none that was asked for"},
    {ExitStatus::CameraBusy, "camera busy: somebody else works with it, or with its port"},
    {ExitStatus::Refused, "refused value: the feature does not take it, or not now"},
    {ExitStatus::Lost, "lost: control of the camera, or the camera itself, which does not answer"},
    {ExitStatus::NoRight, "no right: to the service's socket, or to raw frames on an interface"},
    {ExitStatus::NoService, "no service: gbe-service does not run"},
};

struct CodeRow {
    int code;
    ExitStatus status;
};

constexpr CodeRow kCodes[] = {
    {GBE_ERROR_NOT_IMPLEMENTED, ExitStatus::Refused},
    {GBE_ERROR_NOT_AVAILABLE, ExitStatus::Refused},
    {GBE_ERROR_LOCKED, ExitStatus::Refused},
    {GBE_ERROR_NOT_READABLE, ExitStatus::Refused},
    {GBE_ERROR_NOT_WRITABLE, ExitStatus::Refused},
    {GBE_ERROR_ILLEGAL_VALUE, ExitStatus::Refused},
    {GBE_ERROR_ILLEGAL_REGISTER_LENGTH, ExitStatus::Refused},
    {GBE_ERROR_CONNECTION, ExitStatus::Lost},
    {GBE_ERROR_CAMERA_NOT_CONNECTED, ExitStatus::Lost},
    {GBE_ERROR_SERVICE_CONNECTION, ExitStatus::NoService},
    {GBE_ERROR_CAMERA_BUSY, ExitStatus::CameraBusy},
    {GBE_ERROR_NO_CAMERAS_FOUND, ExitStatus::NoCamera},
    {GBE_ERROR_CAMERA_DOES_NOT_EXIST, ExitStatus::NoCamera},
};

} // namespace

std::span<const ExitMeaning> exitMeanings() {
    return kMeanings;
}

ExitStatus exitStatusOf(int code) {
    const auto* row = std::find_if(
        std::begin(kCodes), std::end(kCodes), [&](const CodeRow& each) { return each.code == code; });
    return row != std::end(kCodes) ? row->status : code < 0 ? ExitStatus::Other : ExitStatus::Success;
}

} // namespace gbe
