#include "board/failures.h"

#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/addresses.h"
#include "protocol/gvcp_status.h"
#include "transport/errors.h"
#include "util/HostLock.h"
#include "util/error_detail.h"

#include <cstdio>

namespace board {
namespace {

std::string hex(unsigned number, int digits) {
    char text[sizeof "0x00000000"];
    std::snprintf(text, sizeof text, "0x%0*x", digits, number);
    return text;
}

std::string secondsText(std::uint32_t milliseconds) {
    const std::string rest = std::to_string(milliseconds % 1000 + 1000).substr(1);
    const std::string whole = std::to_string(milliseconds / 1000);
    return (milliseconds % 1000 == 0 ? whole : whole + '.' + rest) + " s";
}

} // namespace

std::string placeText(const CameraPort& place) {
    return "board " + std::to_string(place.boardIndex) + " port " + std::to_string(place.number);
}

std::string holderText(const std::string& lockName) {
    const auto holder = util::lockHolder(lockName);
    return holder ? holder->program + ", process " + std::to_string(holder->pid) : "another program";
}

std::string otherText(const ControlReading& reading) {
    if (reading.ip == 0) {
        return reading.isRefused ? "another application has exclusive control of the camera"
                                 : "another application controls the camera";
    }
    return "another application, at " + net::Ipv4::fromNumber(reading.ip).text() + " UDP port " +
           std::to_string(reading.udpPort) + ", controls the camera";
}

std::string lossSentence(const Device& device) {
    const std::uint32_t fact = device.getControlLossFact();
    switch (device.getControlLoss()) {
    case tavo::ControlLoss::None:
        break;
    case tavo::ControlLoss::Silent:
        return "the camera has been silent for longer than the " + secondsText(fact) +
               " that it keeps control for a silent host";
    case tavo::ControlLoss::HeartbeatMissed:
        return "the camera has dropped control: it heard nothing of this host for " + secondsText(fact);
    case tavo::ControlLoss::TakenOver:
        return fact == 0 ? "another application has taken control of the camera"
                         : "another application, at " + net::Ipv4::fromNumber(fact).text() +
                               ", has taken control of the camera";
    case tavo::ControlLoss::Rebooted:
        return "the camera has restarted";
    }
    return {};
}

void failAsLost(const Device& device) {
    util::fail<tavo::GicConnectionException>([&] { return lossSentence(device); });
}

std::string resultText(int result) {
    switch (result) {
    case transport_error::kTruncated:
        return "its answer is cut short";
    case transport_error::kOversized:
        return "that is more than a command carries";
    case transport_error::kForeignReply:
        return "it answers another command, twice";
    case transport_error::kNoAnswer:
        return "it does not answer";
    default:
        break;
    }
    if (result <= 0) {
        return result == 0 ? "its answer is of another place" : "it does not answer";
    }
    const auto status = static_cast<std::uint16_t>(result);
    const std::string_view name = gvcp::statusName(status);
    return "it answers " + (name.empty() ? hex(status, 4) : std::string(name) + " (" + hex(status, 4) + ")");
}

std::string accessSentence(bool isRead, std::uint32_t address, std::uint32_t length, int result) {
    return "the camera was to " + std::string(isRead ? "give" : "take") + ' ' + std::to_string(length) +
           " bytes at " + hex(address, 8) + ": " + resultText(result);
}

} // namespace board
