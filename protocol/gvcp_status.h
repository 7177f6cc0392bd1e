// The names of GVCP's statuses (GigE Vision 1.2, "Status Code Definitions").
#pragma once

#include "protocol/gvcp.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace gvcp {

struct StatusName {
    Status status;
    std::string_view name;
};

inline constexpr std::array kStatusNames{
    StatusName{Status::Success, "GEV_STATUS_SUCCESS"},
    StatusName{Status::PacketResend, "GEV_STATUS_PACKET_RESEND"},
    StatusName{Status::NotImplemented, "GEV_STATUS_NOT_IMPLEMENTED"},
    StatusName{Status::InvalidParameter, "GEV_STATUS_INVALID_PARAMETER"},
    StatusName{Status::InvalidAddress, "GEV_STATUS_INVALID_ADDRESS"},
    StatusName{Status::WriteProtect, "GEV_STATUS_WRITE_PROTECT"},
    StatusName{Status::BadAlignment, "GEV_STATUS_BAD_ALIGNMENT"},
    StatusName{Status::AccessDenied, "GEV_STATUS_ACCESS_DENIED"},
    StatusName{Status::Busy, "GEV_STATUS_BUSY"},
    StatusName{Status::LocalProblem, "GEV_STATUS_LOCAL_PROBLEM"},
    StatusName{Status::MessageMismatch, "GEV_STATUS_MSG_MISMATCH"},
    StatusName{Status::InvalidProtocol, "GEV_STATUS_INVALID_PROTOCOL"},
    StatusName{Status::NoMessage, "GEV_STATUS_NO_MSG"},
    StatusName{Status::PacketUnavailable, "GEV_STATUS_PACKET_UNAVAILABLE"},
    StatusName{Status::DataOverrun, "GEV_STATUS_DATA_OVERRUN"},
    StatusName{Status::InvalidHeader, "GEV_STATUS_INVALID_HEADER"},
    StatusName{Status::WrongConfiguration, "GEV_STATUS_WRONG_CONFIG"},
    StatusName{Status::Error, "GEV_STATUS_ERROR"},
};

// Empty for a number that has none.
constexpr std::string_view statusName(std::uint16_t status) {
    for (const StatusName& row : kStatusNames) {
        if (static_cast<std::uint16_t>(row.status) == status) {
            return row.name;
        }
    }
    return {};
}

} // namespace gvcp
