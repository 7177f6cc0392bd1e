#include "api/refusals.h"

#include "api/handles.h"
#include "api/near_names.h"
#include "api/results.h"
#include "board/failures.h"
#include "genicam/nodes/NodeTree.h"

#include <algorithm>
#include <array>

namespace api {
namespace {

// What serves each kind of feature.
struct KindText {
    GbeFeatureKind kind;
    const char* text;
};
constexpr std::array kKindTexts{
    KindText{GBE_KIND_OTHER, "it has a text only, for Gbe_getValueAsString"},
    KindText{GBE_KIND_INTEGER, "it is an integer, for Gbe_getIntegerValue and Gbe_setIntegerValue"},
    KindText{GBE_KIND_FLOAT, "it is a float, for Gbe_getFloatValue and Gbe_setFloatValue"},
    KindText{GBE_KIND_BOOLEAN, "it is a boolean, for Gbe_getBooleanValue and Gbe_setBooleanValue"},
    KindText{GBE_KIND_STRING, "it is a string, for Gbe_getStringValue and Gbe_setStringValue"},
    KindText{
        GBE_KIND_ENUMERATION,
        "it is an enumeration, for Gbe_getEnumerationValue and Gbe_setEnumerationValue"},
    KindText{GBE_KIND_COMMAND, "it is a command, for Gbe_executeCommand and Gbe_isCommandDone"},
    KindText{GBE_KIND_CATEGORY, "it is a category, for Gbe_getFeatureList"},
    KindText{GBE_KIND_REGISTER, "it is a register, for Gbe_getRegisterBytes and Gbe_setRegisterBytes"},
};

// The features that people know by name: the members of categories. All nodes where there is none.
std::vector<std::string_view> namesOfFeatures(const tavo::NodeTree& tree) {
    std::vector<std::string_view> names;
    std::vector<std::string_view> all;
    for (tavo::ImplGenICamNode* const node : tree.nodes().byName()) {
        all.emplace_back(node->getName());
        if (const auto* const category = node->asCategory()) {
            for (const tavo::GenICamNode* const feature : category->getFeatures()) {
                names.emplace_back(feature->getName());
            }
        }
    }
    return names.empty() ? all : names;
}

std::string missing(const tavo::NodeTree& tree, const char* name) {
    std::string text = "no such feature";
    const char* between = "; ";
    for (const std::string_view near : nearNames(name, namesOfFeatures(tree))) {
        text.append(between).append(near);
        between = ", ";
    }
    return *between == ',' ? text + '?' : text;
}

const char* sentenceOf(State state, int code) {
    switch (state) {
    case State::Found:
        return "the camera has not been connected yet";
    case State::Connected:
        return code == status::CameraNotConnected || code == status::CameraAlreadyConnected
                   ? "the camera is connected already"
                   : "";
    case State::Disconnected:
        return "the camera has been disconnected";
    case State::Changing:
        return "another call is just connecting, disconnecting or moving the camera";
    case State::Leaving:
        return "the handle is being freed";
    default:
        return "";
    }
}

} // namespace

int nullArgument(const char* name) {
    return refused(status::IllegalParameter, [&] { return std::string(name) + " is null"; });
}

int firstNull(std::initializer_list<Argument> arguments) {
    const auto found = std::ranges::find(arguments, nullptr, &Argument::value);
    return found != arguments.end() ? nullArgument(found->name) : status::IllegalParameter;
}

int badPort(const BoardHandle* board, long long port) {
    return board == nullptr ? nullArgument("board")
                            : refused(status::IllegalParameter, [&] { return noPort(port); });
}

std::string noBoard(long long board) {
    return "board " + std::to_string(board) + " is not within 0.." + std::to_string(GBE_BOARDS - 1);
}

std::string noPort(long long port) {
    return "port " + std::to_string(port) + " is not within 0.." + std::to_string(GBE_PORTS - 1);
}

int boardClosed(int board) {
    return refused(
        status::BoardDoesNotExist, [&] { return "board " + std::to_string(board) + " is not open"; });
}

int portTaken(const board::CameraPort& place) {
    return place.user() == nullptr ? portLocked(place) : refused(status::PortNotAvailable, [&] {
        return "another connected handle of this program uses " + board::placeText(place);
    });
}

int portLocked(const board::CameraPort& place) {
    return refused(status::PortNotAvailable, [&] {
        return board::holderText(board::portLockName(place.boardIndex, place.number)) + ", uses " +
               board::placeText(place);
    });
}

int cameraTaken() {
    return refused(status::CameraBusy, "another handle of this program has the camera");
}

int cameraLocked(const unsigned char* mac) {
    return refused(status::CameraBusy, [&] {
        return board::holderText(board::cameraLockName(mac)) + ", on this computer, works with the camera";
    });
}

int notFound(const board::CameraPort& place, const unsigned char* mac) {
    return refused(status::CameraDoesNotExist, [&] {
        return "the last scan of " + board::placeText(place) + " has not found the camera " +
               net::Mac::at(mac).text();
    });
}

int noCameras(const board::HeldPort& held) {
    return refused(status::NoCamerasFound, [&] {
        return held.port() == nullptr
                   ? "board " + std::to_string(held.place.boardIndex) + " is not open"
                   : "no camera has answered a scan of " + board::placeText(held.place) + " so far";
    });
}

int badLookUp(const BoardHandle* board, unsigned port, std::initializer_list<Argument> arguments) {
    const bool isBadPort = board == nullptr || port >= unsigned{board::kPorts};
    return isBadPort ? badPort(board, port) : firstNull(arguments);
}

int refusedAsFork() {
    return refused(
        status::Connection,
        "this process was forked from one that had opened a board, and its handles did not come along");
}

int refusedInState(const CameraHandle& handle, State state, int code) {
    if (state == State::Forked) {
        return refusedAsFork();
    }
    const board::Device* const device = handle.device();
    if (state == State::Lost && device != nullptr) {
        return refused(code, [&] { return board::lossSentence(*device); });
    }
    return refused(code, sentenceOf(state, code));
}

int noDescription() {
    return refused(status::CameraNotConnected, "the camera was moved here without a description");
}

int noSuchFeature(const tavo::NodeTree& tree, const char* name, tavo::GenICamNode* found) {
    return refused(status::IllegalNode, [&] {
        if (found == nullptr) {
            return missing(tree, name);
        }
        const auto* const row = std::ranges::find(kKindTexts, kindOf(*found), &KindText::kind);
        return std::string(row->text);
    });
}

int about(const char* feature, int result) {
    return result >= 0 || *util::errorDetail() == '\0'
               ? result
               : refused(result, [&] { return std::string(feature) + ": " + util::errorDetail(); });
}

int tooSmall(unsigned long long needed, unsigned long long given) {
    return refused(status::BufferTooSmall, [&] {
        return std::to_string(needed) + " bytes are needed, and " + std::to_string(given) + " are there";
    });
}

} // namespace api
