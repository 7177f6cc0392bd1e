// Frames from anybody to the camera in software. The first byte says which camera it is (bit 1: memory
// without a model; bit 2: with a link-local address, which takes no time to find) and what follows: even, one
// raw frame; odd, GVCP messages from one host in sound frames, each behind its length and the tenths of a
// second that pass before it. Whatever comes in, what goes out are sound frames to somebody, each
// acknowledgement that of its command, and what is fixed in the camera stays what it was.
#include "protocol/net.h"
#include "simcam/CameraCore.h"

#include <cstdlib>
#include <string>

namespace {

using namespace simcam;

constexpr Mac kCameraMac = 0x021122334455;
constexpr std::uint32_t kCameraIp = 0xA9FE0764;
constexpr std::size_t kMaxSent = 1514;

void require(bool sound) {
    if (!sound) {
        std::abort();
    }
}

struct Made {
    CameraSettings settings;
    Description description;
};

Made make(bool plain, const char* ip = "169.254.7.100") {
    std::string error;
    const ethernet::Settings settings{
        {"mac", "02:11:22:33:44:55"},
        {"ip", ip},
        {"probe-second", "0"},
        {"registers", plain ? "plain" : "model"}};
    Made made{parseSettings(settings, error).value(), {}};
    made.description = makeDescription(made.settings, error).value();
    return made;
}

std::size_t checkSent(CameraCore& camera, Time now) {
    const auto frames = camera.due(now);
    for (const Bytes& frame : frames) {
        require(frame.size() >= net::kMinFrame && frame.size() <= kMaxSent);
        require(Reader(ByteView(frame).subspan(net::kSourceMac)).u48() == kCameraMac);
    }
    return frames.size();
}

// One message in a frame; the host reads the answer with the checks of a station.
void exchange(CameraCore& camera, Station& host, ByteView message, Time now) {
    const Peer to{kCameraMac, camera.station().ip().address, gvcp::kPort};
    camera.receive(host.datagram(to, 3015, message), now);
    for (const Bytes& frame : camera.due(now)) {
        if (host.receive(frame).arp) { // the camera looks for an address
            continue;
        }
        const auto datagram = host.receive(frame).datagram;
        require(datagram && datagram->payload.size() >= gvcp::kHeader);
        Reader answer(datagram->payload);
        answer.skip(gvcp::kAckCode);
        Reader command(message);
        command.skip(gvcp::kCommandCode);
        require(answer.u16() == command.u16() + 1);
        require(answer.u16() + gvcp::kHeader == datagram->payload.size());
        command.skip(2);
        require(answer.u16() == command.u16());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Made kModel = make(false);
    static const Made kPlain = make(true);
    Reader input(ByteView(data, size));
    const std::uint8_t what = input.u8();
    static const Made kLinkLocal = make(false, "link-local");
    const Made& made = (what & 2) != 0 ? kPlain : (what & 4) != 0 ? kLinkLocal : kModel;
    Time now{std::chrono::hours(1)};
    CameraCore camera(made.settings, made.description, now);
    checkSent(camera, now);
    if ((what & 1) == 0) {
        camera.receive(input.bytes(input.left()), now);
        require(checkSent(camera, now) <= 2); // an ARP reply and the defence of the address at most
    }
    Station host(0x020000000001, {0xA9FE072A, 0xFFFF0000, 0});
    while ((what & 1) != 0 && input.left() > 2) {
        const std::size_t length = input.u8();
        now += milliseconds(100 * input.u8());
        exchange(camera, host, input.bytes(std::min(length, input.left())), now);
    }
    require(camera.registers().text(Reg::ModelName) == "SimCam 2M");
    require(
        camera.report(now).ip.address == kCameraIp || camera.registers().get(Reg::CurrentIp) != kCameraIp);
    return 0;
}
