// What gbe doctor asks of a camera that a scan has found: can it be reached, is it free, do its packets pass?
#pragma once

#include "Findings.h"
#include "Session.h"

#include <memory>
#include <string>
#include <vector>

namespace gbe {

class Eavesdropper;

// A port as the checks before have found it.
struct CheckedPort {
    unsigned port = 0;
    PortAddress address;
    std::string interface; // empty: the port is none
    Mac interfaceMac;      // that the port is to have; zeros when not known
    int mtu = 0;           // 0: not known
    Ipv4 computerIp;       // that the interface has in Linux
    bool linkUp = false;
    std::shared_ptr<Eavesdropper> ear; // null where nothing can be overheard
};

class CameraCheck {
public:
    CameraCheck(
        BoardHandle* board, const Selection& selection, const CheckedPort& port,
        const std::vector<FoundCamera>& all, Findings& findings)
        : m_board(board), m_selection(selection), m_port(port), m_all(all), m_findings(findings) {}

    void run(const FoundCamera& camera);

private:
    bool addressIsGood(const FoundCamera& camera);
    bool answers(CameraHandle* handle, const FoundCamera& camera, unsigned& privilege);
    void explainSilence(const FoundCamera& camera);
    bool isFree(CameraHandle* handle, const FoundCamera& camera, unsigned privilege, std::string& text);
    bool packetsPass(CameraHandle* handle, const FoundCamera& camera, std::string& text);

    void bad(const FoundCamera& camera, const std::string& finding, const std::string& mend);
    std::string command(const std::string& words) const;
    std::string setCommand(const FoundCamera& camera) const;
    Ipv4 freeAddress(const Ipv4& present) const;
    bool isTaken(const Ipv4& ip) const;

    BoardHandle* m_board;
    const Selection& m_selection;
    const CheckedPort& m_port;
    const std::vector<FoundCamera>& m_all;
    Findings& m_findings;
};

} // namespace gbe
