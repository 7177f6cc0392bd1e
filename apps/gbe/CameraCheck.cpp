#include "CameraCheck.h"

#include "Eavesdropper.h"
#include "Failure.h"
#include "protocol/bootstrap.h"

#include <algorithm>
#include <functional>

namespace gbe {
namespace {

constexpr unsigned kUsualPacket = 1500; // what the library sets when it connects

std::string label(const FoundCamera& camera) {
    const std::string name = fieldText(camera.info.userDefinedName);
    return Mac::at(camera.info.mac).text() + (name.empty() ? "" : " " + name);
}

bool isFrom(const Heard& heard, const FoundCamera& camera) {
    return heard.from == Mac::at(camera.info.mac);
}

} // namespace

void CameraCheck::run(const FoundCamera& camera) {
    if (std::all_of(std::begin(camera.info.mac), std::end(camera.info.mac), std::logical_not<>())) {
        m_findings.bad(
            "camera",
            camera.ip.text() + ": its discovery data hold no MAC address, by which cameras are told apart",
            "its maker may have newer firmware; alone on its port it can be used: gbe --ip " +
                camera.ip.text());
        return;
    }
    if (!addressIsGood(camera)) {
        return;
    }
    CameraHandle* handle = nullptr;
    const int code = Gbe_getCameraByMac(m_board, m_port.port, camera.info.mac, &handle);
    if (code < 0) {
        bad(camera, Gbe_getErrorDescription(code), "run it again: the camera has gone since the scan");
        return;
    }
    const Camera owner(handle, &Gbe_freeCamera);
    unsigned privilege = 0;
    if (!answers(handle, camera, privilege)) {
        return;
    }
    std::string text = camera.ip.text();
    const bool free = isFree(handle, camera, privilege, text);
    if (packetsPass(handle, camera, text) && free) {
        m_findings.good("camera", label(camera) + ": " + text);
    }
}

bool CameraCheck::addressIsGood(const FoundCamera& camera) {
    if (!m_port.address.reaches(camera.ip)) {
        bad(camera,
            camera.ip.text() + " is in another subnet than port " + std::to_string(m_port.port) + ", " +
                m_port.address.text(),
            setCommand(camera));
        return false;
    }
    const bool shared = std::any_of(m_all.begin(), m_all.end(), [&](const FoundCamera& other) {
        return other.port == camera.port && other.ip == camera.ip &&
               Mac::at(other.info.mac) != Mac::at(camera.info.mac);
    });
    if (shared || camera.ip == m_port.address.ip) {
        bad(camera, camera.ip.text() + " is another station's address as well", setCommand(camera));
        return false;
    }
    return true;
}

bool CameraCheck::answers(CameraHandle* handle, const FoundCamera& camera, unsigned& privilege) {
    if (m_port.ear) {
        m_port.ear->take();
    }
    const int code = Gbe_readRegister(handle, bootstrap::kControlChannelPrivilege, &privilege);
    if (code == GBE_ERROR_CONNECTION) {
        explainSilence(camera);
    } else if (code < 0) {
        bad(camera, "refuses to be read: another application has exclusive control of it",
            "end that application, or switch the camera off and on");
    }
    return code == 0;
}

// It answers scans, which go to everybody, but not what is sent to it alone.
void CameraCheck::explainSilence(const FoundCamera& camera) {
    const PortAddress& us = m_port.address;
    unsigned commandPort = 0;
    Gbe_getCommandPort(m_board, m_port.port, &commandPort);
    for (const Heard& heard : m_port.ear ? m_port.ear->take() : std::vector<Heard>{}) {
        if (!isFrom(heard, camera)) {
            continue;
        }
        if (heard.kind == Heard::Kind::ArpRequest && heard.toIp != us.ip) {
            bad(camera,
                "answers scans, then looks for " + heard.toIp.text() + " (ARP) and not for " + us.text(),
                "its subnet mask or gateway is wrong: " + setCommand(camera));
            return;
        }
        if (heard.kind == Heard::Kind::Acknowledgement &&
            (heard.to != us.mac || heard.toIp != us.ip || heard.toPort != commandPort)) {
            bad(camera,
                "its answers go to " + heard.to.text() + ", " + heard.toIp.text() + ", port " +
                    std::to_string(heard.toPort) + "; we are " + us.mac.text() + ", " + us.ip.text() +
                    ", port " + std::to_string(commandPort),
                "switch the camera off and on; is another station using the address " + us.ip.text() + "?");
            return;
        }
    }
    bad(camera, camera.ip.text() + ": answers scans, but nothing that is sent to it alone",
        "look for a firewall in a switch or another station with this address; " + setCommand(camera));
}

bool CameraCheck::isFree(
    CameraHandle* handle, const FoundCamera& camera, unsigned privilege, std::string& text) {
    constexpr unsigned kHeld = bootstrap::kPrivilegeExclusive | bootstrap::kPrivilegeControl;
    if ((privilege & kHeld) == 0) {
        text += ", free";
        return true;
    }
    GbeControlStatus control{};
    unsigned heartbeat = 0;
    Gbe_getControlStatus(handle, &control);
    Gbe_readRegister(handle, bootstrap::kHeartbeatTimeout, &heartbeat);
    const std::string user = userText(handle);
    const std::string who =
        !user.empty()                        ? user
        : control.holder == GBE_CONTROL_SELF ? "a program on this computer"
        : control.ip != 0 ? Ipv4::fromLowFirst(control.ip).text() + ", port " + std::to_string(control.port)
                          : "an application that it does not tell";
    bad(camera, "is controlled by " + who,
        "end that application; if it has crashed, the camera is free after " +
            std::to_string((heartbeat + 999) / 1000) + " s");
    return false;
}

bool CameraCheck::packetsPass(CameraHandle* handle, const FoundCamera& camera, std::string& text) {
    constexpr unsigned kSizeBits = 0xFFFF;
    unsigned size = 0;
    Gbe_readRegister(handle, bootstrap::kStreamChannelPacketSize, &size);
    size = (size & kSizeBits) != 0 ? size & kSizeBits : kUsualPacket;
    const auto most = static_cast<unsigned>(m_port.mtu);
    if (most != 0 && size > most && size > kUsualPacket) { // of the usual size the port's own check tells
        bad(camera,
            "sends packets of " + std::to_string(size) + " bytes, " + m_port.interface + " carries " +
                std::to_string(most),
            "sudo ip link set " + m_port.interface + " mtu " + std::to_string(size) +
                ", or set GevSCPSPacketSize no higher than " + std::to_string(most));
        return false;
    }
    text += ", packets of " + std::to_string(size) + " bytes";
    return true;
}

void CameraCheck::bad(const FoundCamera& camera, const std::string& finding, const std::string& mend) {
    m_findings.bad("camera", label(camera) + ": " + finding, mend);
}

std::string CameraCheck::command(const std::string& words) const {
    const std::string board = m_selection.board != 0 ? " --board " + std::to_string(m_selection.board) : "";
    return "gbe" + board + " " + words;
}

std::string CameraCheck::setCommand(const FoundCamera& camera) const {
    return command("ip set " + Mac::at(camera.info.mac).text() + " " + freeAddress(camera.ip).text());
}

// An address in the port's subnet: the camera's own place in it when nobody has that, else the next free one.
Ipv4 CameraCheck::freeAddress(const Ipv4& present) const {
    const std::uint32_t mask = m_port.address.mask.number();
    const std::uint32_t subnet = m_port.address.ip.number() & mask;
    const std::uint32_t last = ~mask; // the broadcast address
    std::uint32_t host = present.number() & ~mask;
    for (std::uint32_t tries = 0; tries < last; ++tries, host = host < last ? host + 1 : 0) {
        const Ipv4 ip = Ipv4::fromNumber(subnet | host);
        if (host != 0 && host != last && !isTaken(ip)) {
            return ip;
        }
    }
    return present;
}

bool CameraCheck::isTaken(const Ipv4& ip) const {
    for (unsigned port = 0; port < GBE_PORTS; ++port) {
        if (portAddress(m_board, port).ip == ip) {
            return true;
        }
    }
    return ip == m_port.computerIp ||
           std::any_of(m_all.begin(), m_all.end(), [&](const FoundCamera& each) { return each.ip == ip; });
}

} // namespace gbe
