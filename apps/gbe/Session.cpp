#include "Session.h"

#include "Failure.h"
#include "FeatureCache.h"
#include "addresses.h"
#include "link_report/link_report.h"
#include "protocol/bootstrap.h"
#include "service.h"

#include <algorithm>
#include <cerrno>

namespace gbe {
namespace {

std::string placeText(const Selection& selection) {
    std::string text = "board " + std::to_string(selection.board);
    if (selection.port) {
        text += " port " + std::to_string(*selection.port);
    }
    return text;
}

std::string cameraText(const Selection& selection) {
    return selection.mac  ? "camera " + selection.mac->text()
           : selection.ip ? "camera " + selection.ip->text()
                          : "camera";
}

std::vector<unsigned> portsOf(const Selection& selection) {
    if (selection.port) {
        return {*selection.port};
    }
    std::vector<unsigned> ports(GBE_PORTS);
    for (unsigned port = 0; port < GBE_PORTS; ++port) {
        ports[port] = port;
    }
    return ports;
}

void scan(BoardHandle* board, const Selection& selection) {
    const int port = selection.port ? static_cast<int>(*selection.port) : -1;
    const int code = Gbe_scanNetwork(board, port, 0);
    if (code == GBE_ERROR_PORT_NOT_AVAILABLE) {
        throw Failure(placeText(selection), code).as(ExitStatus::CameraBusy);
    }
    check(placeText(selection), code);
}

// Every camera of a port: picks them one by one, so that each is picked once, and lets all go again. By MAC
// address: which one answers a scan first is chance.
void listPort(BoardHandle* board, unsigned port, std::vector<FoundCamera>& found) {
    const auto others = static_cast<std::ptrdiff_t>(found.size());
    std::vector<Camera> held;
    CameraHandle* handle = nullptr;
    while (Gbe_getFirstCamera(board, port, &handle) == 0) {
        held.emplace_back(handle, &Gbe_freeCamera);
        if (const CameraInfo* info = Gbe_getCameraInfo(handle)) {
            unsigned ip = 0;
            Gbe_getCameraIp(handle, &ip);
            found.push_back({port, *info, Ipv4::fromLowFirst(ip)});
        }
    }
    std::ranges::sort(found.begin() + others, found.end(), {}, [](const FoundCamera& camera) {
        return Mac::at(camera.info.mac);
    });
}

std::vector<FoundCamera> listPorts(BoardHandle* board, const Selection& selection) {
    std::vector<FoundCamera> found;
    for (const unsigned port : portsOf(selection)) {
        listPort(board, port, found);
    }
    return found;
}

// The address of the one camera that bears the name. The library's own look-up by name picks the last camera
// of a port that has several, whichever bears the name.
Mac macOfName(BoardHandle* board, const Selection& selection) {
    const std::vector<FoundCamera> found = listPorts(board, selection);
    const auto named = [&](const FoundCamera& each) {
        return fieldText(each.info.userDefinedName) == selection.name;
    };
    const auto count = std::count_if(found.begin(), found.end(), named);
    if (count == 0) {
        throw Failure(
            "camera \"" + selection.name + "\"",
            found.empty() ? GBE_ERROR_NO_CAMERAS_FOUND : GBE_ERROR_CAMERA_DOES_NOT_EXIST,
            found.empty() ? "no camera has answered the scan"
            : found.size() == 1
                ? "the one camera found is not called that"
                : "none of the " + std::to_string(found.size()) + " cameras found is called that");
    }
    if (count > 1) {
        throw Failure(
            std::to_string(count) + " cameras are named \"" + selection.name + "\": pick one by --mac");
    }
    return Mac::at(std::find_if(found.begin(), found.end(), named)->info.mac);
}

int pickOnPort(BoardHandle* board, unsigned port, const Selection& selection, CameraHandle** camera) {
    if (selection.mac) {
        return Gbe_getCameraByMac(board, port, selection.mac->data(), camera);
    }
    if (selection.ip) {
        return Gbe_getCameraByIp(board, port, selection.ip->lowFirst(), camera);
    }
    std::vector<FoundCamera> found;
    listPort(board, port, found);
    return found.empty() ? Gbe_getFirstCamera(board, port, camera) // which says why
                         : Gbe_getCameraByMac(board, port, found.front().info.mac, camera);
}

// Of a connection that the camera did not give: the status says more than the code where the camera is
// silent.
Failure connectionFailure(CameraHandle* camera, const Failure& failure, int code) {
    GbeControlStatus control{};
    const bool isSilent = code == GBE_ERROR_XML_READ && Gbe_getControlStatus(camera, &control) == 0 &&
                          control.holder == GBE_CONTROL_UNKNOWN;
    return code == GBE_ERROR_PORT_NOT_AVAILABLE ? failure.as(ExitStatus::CameraBusy)
           : isSilent                           ? failure.as(ExitStatus::Lost)
                                                : failure;
}

// After a refusal to let itself be read: nobody controls the camera, and it gives control.
bool takesControl(CameraHandle* camera, int refusal) {
    GbeControlStatus control{};
    if (refusal != GBE_ERROR_CAMERA_BUSY || !userText(camera).empty() ||
        Gbe_getControlStatus(camera, &control) != 0 || control.holder == GBE_CONTROL_UNKNOWN ||
        Gbe_connectCamera(camera) < 0) {
        return false;
    }
    complain("this camera lets itself be read only by who controls it: control is taken for that");
    return true;
}

} // namespace

Failure boardFailure(const std::string& what, int board, int code, const std::string& why) {
    Failure failure(what, code, why);
    if (code != GBE_ERROR_BOARD_INITIALIZATION) {
        return failure;
    }
    for (unsigned port = 0; port < GBE_PORTS; ++port) {
        const auto link = link_report::ofPort(board, port);
        if (link && link_report::isRightMissing(*link)) {
            return Failure(
                       what, code, "no right to raw frames on " + link->interface + "; gbe doctor tells more")
                .as(ExitStatus::NoRight);
        }
    }
    const int error = askService("COUNT BOARDS").error;
    return error == 0                          ? failure
           : error == EACCES || error == EPERM ? failure.as(ExitStatus::NoRight)
                                               : failure.as(ExitStatus::NoService);
}

Board openBoard(int board) {
    BoardHandle* handle = nullptr;
    if (const int code = Gbe_initBoard(board, 0, &handle); code < 0) {
        throw boardFailure("board " + std::to_string(board), board, code);
    }
    return Board(handle, &Gbe_freeBoard);
}

std::vector<FoundCamera> findCameras(BoardHandle* board, const Selection& selection) {
    scan(board, selection);
    return listPorts(board, selection);
}

PickedCamera pickCamera(BoardHandle* board, const Selection& selection) {
    scan(board, selection);
    Selection wanted = selection;
    if (!selection.name.empty() && !selection.mac) {
        wanted.mac = macOfName(board, selection);
    }
    const std::string what = cameraText(selection) + " on " + placeText(selection);
    std::optional<Failure> failure;
    for (const unsigned port : portsOf(selection)) {
        CameraHandle* camera = nullptr;
        const int result = pickOnPort(board, port, wanted, &camera);
        if (result >= 0) {
            return {Camera(camera, &Gbe_freeCamera), port};
        }
        if (!failure || result != GBE_ERROR_NO_CAMERAS_FOUND) { // a port without cameras says least
            failure = Failure(
                what, result,
                portsOf(selection).size() == 1 || result != GBE_ERROR_NO_CAMERAS_FOUND
                    ? Gbe_getLastErrorDetail()
                    : "no camera has answered the scan");
        }
    }
    throw *failure;
}

std::string userText(CameraHandle* camera) {
    int pid = 0;
    char program[64] = {};
    Gbe_getCameraUser(camera, &pid, program, sizeof program);
    return pid != 0 ? std::string(program) + ", process " + std::to_string(pid) : "";
}

void connectCamera(CameraHandle* camera, bool standard, Purpose purpose) {
    check("choosing how to read the description", Gbe_enableStandardBehaviour(camera, standard ? 1 : 0));
    const std::string mac = Mac::at(Gbe_getCameraInfo(camera)->mac).text();
    const GbeConnectMode mode = purpose == Purpose::Look   ? GBE_CONNECT_READ_ONLY
                                : purpose == Purpose::Work ? GBE_CONNECT_CONTROL
                                                           : GBE_CONNECT_EXCLUSIVE;
    if (const int code = Gbe_connectCameraWith(camera, mode); code < 0) {
        const Failure failure("connecting to " + mac, code);
        if (purpose != Purpose::Look || !takesControl(camera, code)) {
            throw connectionFailure(camera, failure, code);
        }
    }
    check("switching checks on", Gbe_enableChecks(camera, 1));
}

Session::Session(const Selection& selection, Purpose purpose)
    : board(openBoard(selection.board)), camera(pickCamera(board.get(), selection).handle) {
    connectCamera(camera.get(), selection.standard, purpose);
    rememberCamera(camera.get());
}

} // namespace gbe
