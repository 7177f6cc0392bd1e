// gbe doctor: why is there silence? From the service outwards to the cameras, each check in a line.
#include "common/terminal_text.h"
#include "gbe/CameraCheck.h"
#include "gbe/Context.h"
#include "gbe/Eavesdropper.h"
#include "gbe/Failure.h"
#include "gbe/options.h"
#include "gbe/service.h"
#include "gbe/unread_files.h"
#include "link_report/link_report.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <grp.h>

namespace gbe {

namespace {

constexpr int kUsualPacket = 1500;               // what the library asks cameras for
constexpr std::chrono::seconds kCameraLimit{10}; // for all cameras; one that is silent takes some seconds

std::string programFile() {
    char file[PATH_MAX] = "";
    return readlink("/proc/self/exe", file, sizeof file - 1) > 0 ? file : "gbe";
}

std::string groupOf(const char* file) {
    struct stat status {};
    const group* entry = stat(file, &status) == 0 ? getgrgid(status.st_gid) : nullptr;
    return entry != nullptr ? entry->gr_name : "root";
}

std::string whatIsWrong(const link_report::LinkReport& link) {
    switch (link.error) {
    case EPERM:
    case EACCES:
        return "no right to raw frames on " + link.interface;
    case ENODEV:
        return "there is no network interface " + link.interface;
    case ENETDOWN:
        return link.interface + " is switched off";
    case ENOLINK:
        return link.interface + " has nothing at its other end (no carrier)";
    default:
        return link.message;
    }
}

std::string mendingInterface(const link_report::LinkReport& link) {
    switch (link.error) {
    case EPERM:
        return "sudo setcap cap_net_raw+ep " + programFile();
    case EACCES: // the message ends with it
        return link.message.substr(std::min(link.message.find("sudo "), link.message.size()));
    case ECONNREFUSED: // by who lends sockets, for a reason that was told
        return "mend that, or sudo setcap cap_net_raw+ep " + programFile();
    case ENODEV:
        return "\"ip link\" lists the interfaces; the board's file names this one";
    case ENETDOWN:
        return "sudo ip link set " + link.interface + " up";
    case ENOLINK:
        return "plug the cable in and switch the camera on";
    default:
        return "the board's file says what the port is";
    }
}

class Doctor {
public:
    Doctor(const Selection& selection, bool json) : m_selection(selection), m_findings(json) {}

    int run() {
        checkUnreadFiles(m_findings);
        if (checkService() & checkInterfaces()) { // both, whatever the first one finds
            checkBoard();
        } else {
            m_findings.note("board " + std::to_string(m_selection.board), "not looked at");
        }
        m_findings.conclude();
        return m_findings.problems();
    }

private:
    bool checkService();
    bool checkInterfaces();
    void checkBoard();
    void checkPort(BoardHandle* board, CheckedPort& port);
    void checkCameras(BoardHandle* board);
    bool isMeant(const FoundCamera& camera) const;
    void checkHeard(const CheckedPort& port, const std::vector<FoundCamera>& found);

    std::string portName(unsigned port) const { return "port " + std::to_string(port); }

    const Selection& m_selection;
    Findings m_findings;
    std::vector<CheckedPort> m_ports;
};

bool Doctor::checkService() {
    const ServiceReply reply = askService("COUNT BOARDS");
    if (reply.good()) {
        m_findings.good(
            "service", "answers on " + std::string(serviceSocket()) + ", boards: " + reply.field("200-"));
        return true;
    }
    if (reply.error == EACCES || reply.error == EPERM) {
        const std::string group = groupOf(serviceSocket());
        const std::string first =
            group == "root" ? "\"socket-group = video\" in the service's configuration, restart it; " : "";
        m_findings.bad(
            "service", std::string("no right to use its socket ") + serviceSocket(),
            first + "sudo usermod -aG " + (first.empty() ? group : "video") + " $USER, then log in again");
    } else if (reply.error == ENOENT || reply.error == ECONNREFUSED) {
        m_findings.bad(
            "service", std::string("does not run: ") + serviceSocket() + ": " + std::strerror(reply.error),
            "sudo systemctl start gbe-service");
    } else {
        m_findings.bad(
            "service",
            "answers with " + (reply.error != 0 ? "nothing: " + std::string(std::strerror(reply.error))
                                                : "\"" + reply.lines.back() + "\""),
            "sudo systemctl restart gbe-service");
    }
    return false;
}

// Those ports of the board that are interfaces of Linux; false when this program may not use one, and the
// board therefore cannot be opened.
bool Doctor::checkInterfaces() {
    bool mayOpen = true;
    for (unsigned port = 0; port < GBE_PORTS; ++port) {
        if (m_selection.port && *m_selection.port != port) {
            continue;
        }
        CheckedPort& place = m_ports.emplace_back();
        place.port = port;
        const auto link = link_report::ofPort(m_selection.board, port);
        if (!link) {
            continue;
        }
        place.interface = link->interface;
        place.mtu = link->mtu;
        place.interfaceMac = link->mac;
        place.computerIp = link->ip;
        if (link->error != 0) {
            m_findings.bad(portName(port), whatIsWrong(*link), mendingInterface(*link));
            mayOpen = mayOpen && !link_report::isRightMissing(*link);
        } else if (link->mtu < kUsualPacket) {
            m_findings.bad(
                portName(port),
                link->interface + " carries " + std::to_string(link->mtu) +
                    " bytes, cameras send packets of " + std::to_string(kUsualPacket),
                "sudo ip link set " + link->interface + " mtu " + std::to_string(kUsualPacket));
        }
    }
    return mayOpen;
}

void Doctor::checkBoard() {
    const std::string number = std::to_string(m_selection.board);
    const std::string name = "board " + number;
    const ServiceReply reply = askService("OPEN BOARD " + number + " PORT 0");
    if (!reply.good()) {
        m_findings.bad(
            name, "the service cannot open it: " + (reply.lines.empty() ? "no reply" : reply.lines.back()),
            "is the board there (gbe boards), and served (boards = in the service's configuration)? "
            "\"journalctl -u gbe-service\" has more");
        return;
    }
    BoardHandle* handle = nullptr;
    const int code = Gbe_initBoard(m_selection.board, 0, &handle);
    if (code < 0) {
        m_findings.bad(
            name, std::string("cannot be opened here: ") + Gbe_getErrorDescription(code),
            "is this user allowed to use the frame grabber? Does LIOMOL_SOFTBOARD name the service's file?");
        return;
    }
    const Board board(handle, &Gbe_freeBoard);
    m_findings.good(name, "open");
    for (CheckedPort& port : m_ports) {
        checkPort(handle, port);
    }
    checkCameras(handle);
}

void Doctor::checkPort(BoardHandle* board, CheckedPort& port) {
    port.address = portAddress(board, port.port);
    int up = 0;
    const int code = Gbe_getLinkState(m_selection.board, port.port, &up);
    port.linkUp = code == 0 && up != 0;
    const std::string us = port.address.mac.text() + ", " + port.address.text();
    if (!port.interface.empty() && port.address.ip == port.computerIp) {
        m_findings.bad(
            portName(port.port),
            us + " is the address of this computer itself, whose Linux answers in its name",
            "another address for the port, \"ip =\" in the service's configuration, or for " +
                port.interface);
    } else if (port.linkUp) {
        const std::string path =
            port.interface.empty() ? "" : port.interface + ", MTU " + std::to_string(port.mtu) + "; ";
        m_findings.good(portName(port.port), path + "link up; " + us);
    } else if (port.interface.empty() && m_selection.port) {
        m_findings.bad(portName(port.port), "no link; " + us, "plug the cable in and switch the camera on");
    } else if (port.interface.empty()) { // what an interface lacks was told above
        m_findings.note(portName(port.port), "no link; " + us);
    }
    if (!port.interface.empty() && !port.interfaceMac.isNone() && port.interfaceMac != port.address.mac) {
        m_findings.note(
            portName(port.port), "the service gives it another MAC address than the board's file or " +
                                     port.interface + ", " + port.interfaceMac.text() +
                                     ": on purpose, or does it read another file?");
    }
    if (port.linkUp && !port.interface.empty()) {
        port.ear = Eavesdropper::open(port.interface);
    }
}

void Doctor::checkCameras(BoardHandle* board) {
    const bool anyLink =
        std::any_of(m_ports.begin(), m_ports.end(), [](const auto& each) { return each.linkUp; });
    if (!anyLink) {
        if (m_findings.problems() == 0) {
            m_findings.bad("cameras", "no port has a link", "plug a camera in and switch it on");
        }
        return;
    }
    const std::vector<FoundCamera> found = findCameras(board, m_selection);
    m_findings.note("cameras", "found by a scan: " + std::to_string(found.size()));
    const auto deadline = std::chrono::steady_clock::now() + kCameraLimit;
    std::size_t left = 0;
    for (const CheckedPort& port : m_ports) {
        CameraCheck check(board, m_selection, port, found, m_findings);
        const auto isHere = [&](const FoundCamera& camera) { return camera.port == port.port; };
        checkHeard(port, found);
        if (port.linkUp && std::none_of(found.begin(), found.end(), isHere)) {
            m_findings.bad(
                portName(port.port), "nothing answers a scan",
                "is a camera on this network, and on for some seconds? Routers, VLANs and firewalls stop "
                "scans");
        }
        for (const FoundCamera& camera : found) {
            if (isHere(camera) && isMeant(camera)) {
                if (std::chrono::steady_clock::now() < deadline) {
                    check.run(camera);
                } else {
                    ++left;
                }
            }
        }
    }
    if (left != 0) {
        m_findings.note(
            "cameras", "not looked at: " + std::to_string(left) +
                           ", because the others took so long to be silent; --mac looks at one");
    }
}

// Whether the selection is for this camera; without one each of them is meant.
bool Doctor::isMeant(const FoundCamera& camera) const {
    const auto& mac = m_selection.mac;
    const auto& ip = m_selection.ip;
    const std::string& name = m_selection.name;
    return (!mac || std::equal(mac->begin(), mac->end(), camera.info.mac)) && (!ip || *ip == camera.ip) &&
           (name.empty() || name == fieldText(camera.info.userDefinedName));
}

// Answers to scans that are of no use to us. Other computers' scans are answered as well, but by cameras that
// answer ours, too: those are known by their MAC address or, when their answers came to us, by their IP
// address.
void Doctor::checkHeard(const CheckedPort& port, const std::vector<FoundCamera>& found) {
    constexpr unsigned kDiscoveryAck = 0x0003;
    std::vector<Mac> told;
    for (const Heard& heard : port.ear ? port.ear->take() : std::vector<Heard>{}) {
        const bool toUs = heard.to == port.address.mac && heard.toIp == port.address.ip;
        const bool known = std::any_of(found.begin(), found.end(), [&](const FoundCamera& camera) {
            return heard.from == Mac::at(camera.info.mac) ||
                   (toUs && camera.port == port.port && camera.ip == heard.fromIp);
        });
        if (known || heard.code != kDiscoveryAck ||
            std::find(told.begin(), told.end(), heard.from) != told.end()) {
            continue;
        }
        told.push_back(heard.from);
        const std::string who = heard.from.text();
        if (toUs) {
            m_findings.bad(
                "camera",
                who + ", " + heard.fromIp.text() +
                    ": answers our scan, but its discovery data are not usable",
                "are they complete, and is the MAC address in them its own and no other camera's?");
            continue;
        }
        m_findings.bad(
            "camera",
            who + ": answers scans to " + heard.toIp.text() + " (" + heard.to.text() + "), port " +
                std::to_string(heard.toPort) + ", and not to us",
            "switch it off and on; is another station using the address " + port.address.ip.text() + "?");
    }
}

Run define(CLI::App& command, Context& context) {
    addJson(command, context);
    return [&context] {
        const int problems = Doctor(context.selection, context.json).run();
        return problems == 0 ? ExitStatus::Success : ExitStatus::Other;
    };
}

constexpr Example kExamples[] = {
    {"gbe doctor", "from the service outwards to the cameras, a line for each check"},
    {"gbe --port 0 doctor --json", "of one port, for a program"},
};

} // namespace

extern const Verb kDoctorVerb{
    "doctor", Group::Trouble, "Tells why cameras are not found or do not answer, and what mends it",
    &define,  kExamples,      "The exit status is 1 when there is a problem. It takes control of no camera."};

} // namespace gbe
