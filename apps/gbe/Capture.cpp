#include "Capture.h"

#include "link_report/link_report.h"
#include "liomol/diagnostics.h"
#include "netif/CaptureSocket.h"
#include "netif/filter.h"
#include "service.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <exception>
#include <optional>
#include <thread>
#include <utility>

namespace gbe {
namespace {

using common::PcapngFile;

std::uint64_t now() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    constexpr std::uint64_t kSecond = 1'000'000'000;
    return static_cast<std::uint64_t>(time.tv_sec) * kSecond + static_cast<std::uint64_t>(time.tv_nsec);
}

PcapngFile::Interface describe(const CapturePort& port, const std::string& filter) {
    PcapngFile::Interface interface;
    const std::string place = "board " + std::to_string(port.board) + " port " + std::to_string(port.port);
    interface.name = port.interface.empty() ? place : port.interface;
    interface.description = place;
    interface.filter = filter;
    if (!port.mac.isNone()) {
        interface.mac = port.mac.bytes;
    }
    if (!port.ip.isNone()) {
        std::array<std::uint8_t, 8> ip{};
        std::copy(port.ip.begin(), port.ip.end(), ip.begin());
        std::copy(port.mask.begin(), port.mask.end(), ip.begin() + 4);
        interface.ip = ip;
    }
    return interface;
}

} // namespace

struct Capture::Source {
    CapturePort port;
    std::uint32_t number = 0;
    std::uint64_t from = 0;
    std::uint64_t frames = 0;                     // under m_writing
    std::unique_ptr<netif::CaptureSocket> socket; // null: the process itself
    std::thread thread;
};

std::vector<CapturePort> capturePorts(const Selection& selection) {
    std::vector<CapturePort> ports;
    for (unsigned number = 0; number < 4; ++number) {
        if (selection.port && *selection.port != number) {
            continue;
        }
        CapturePort port{selection.board, number, {}, {}, {}, {}};
        const std::string prefix = "200-PORT " + std::to_string(number) + " ";
        const ServiceReply reply =
            askService("STATUS BOARD " + std::to_string(port.board) + " PORT " + std::to_string(number));
        port.mac = net::Mac::parse(reply.field(prefix + "MAC ")).value_or(net::Mac{});
        port.ip = net::Ipv4::parse(reply.field(prefix + "IP ")).value_or(net::Ipv4{});
        port.mask = net::Ipv4::parse(reply.field(prefix + "MASK ")).value_or(net::Ipv4{});
        if (const auto report = link_report::ofPort(port.board, number)) {
            port.interface = report->interface;
            port.mac = port.mac.isNone() ? report->mac : port.mac;
        }
        ports.push_back(std::move(port));
    }
    return ports;
}

Capture::Capture(PcapngFile& file, Edit edit) : m_file(file), m_edit(std::move(edit)) {}

Capture::~Capture() {
    try {
        stop();
    } catch (...) { // the end of a verb that has failed already
        return;
    }
}

Capture::Source& Capture::add(const CapturePort& port, const std::string& filter) {
    const std::lock_guard lock(m_writing);
    auto source = std::make_unique<Source>();
    source->port = port;
    source->from = now();
    source->number = m_file.addInterface(describe(port, filter));
    m_sources.push_back(std::move(source));
    return *m_sources.back();
}

bool Capture::addInterface(
    const CapturePort& port, const CapturePort& shown, Scope scope, std::string& error) {
    int code = 0;
    auto socket = netif::CaptureSocket::create(
        port.interface, netif::captureFilter(port.mac, scope == Scope::All), error, code);
    if (!socket) {
        return false;
    }
    Source& source =
        add(port, std::string(scope == Scope::All ? "ARP and UDP" : "ARP and GVCP (UDP port 3956)") +
                      (shown.mac.isNone() ? "" : " from, to or for all by " + shown.mac.text()));
    source.socket = std::move(socket);
    source.thread = std::thread([this, &source] { listen(source); });
    return true;
}

void Capture::addOwnFrames(const CapturePort& port) {
    add(port, "control frames of process " + std::to_string(getpid()));
    if (!std::exchange(m_hearsItself, true)) {
        Gbe_setFrameListener(&Capture::hear, this);
    }
}

void Capture::hear(void* user, int board, unsigned port, int sent, const void* frame, unsigned length) {
    auto* const self = static_cast<Capture*>(user);
    const auto is = [&](const auto& source) {
        return source->socket == nullptr && source->port.board == board && source->port.port == port;
    };
    Source* source = nullptr;
    {
        const std::lock_guard lock(self->m_writing); // ports are added while a connection that stays speaks
        const auto found = std::find_if(self->m_sources.begin(), self->m_sources.end(), is);
        source = found != self->m_sources.end() ? found->get() : nullptr;
    }
    if (source != nullptr) {
        self->write(*source, now(), {static_cast<const std::uint8_t*>(frame), length}, sent != 0);
    }
}

// What has come in before the stop is taken out, too, and nothing that has come later: where frames come
// faster than they are written there is always another one.
void Capture::listen(Source& source) {
    std::optional<std::uint64_t> end;
    for (;;) {
        if (!end && m_stop) {
            end = now();
        }
        const auto time = netif::Clock::now();
        const auto frame = source.socket->next(end ? time : time + std::chrono::seconds(1));
        if (frame && frame->time <= end.value_or(frame->time)) {
            write(source, frame->time, frame->bytes, frame->isOutgoing);
        } else if (end) {
            return;
        }
    }
}

void Capture::write(Source& source, std::uint64_t time, std::span<const std::uint8_t> frame, bool isSent) {
    const std::lock_guard lock(m_writing);
    if (m_error) {
        return;
    }
    try {
        Frame bytes(frame.begin(), frame.end());
        if (m_edit) {
            m_edit(bytes);
        }
        const auto direction = isSent ? PcapngFile::Direction::Outbound : PcapngFile::Direction::Inbound;
        m_file.addFrame(source.number, time, bytes, direction);
        ++source.frames;
        ++m_frames;
    } catch (...) {
        m_error = std::current_exception();
    }
}

void Capture::stop(const std::string& comment) {
    if (std::exchange(m_isStopped, true)) {
        return;
    }
    if (m_hearsItself) {
        Gbe_setFrameListener(nullptr, nullptr);
    }
    m_stop = true;
    for (const auto& source : m_sources) {
        if (source->socket) {
            source->socket->interrupt();
            source->thread.join();
        }
    }
    if (m_error) {
        std::rethrow_exception(m_error);
    }
    for (const auto& source : m_sources) {
        const std::uint64_t lost = source->socket ? source->socket->lost() : 0;
        m_lost += lost;
        m_file.addStatistics(source->number, {source->from, now(), source->frames + lost, lost}, comment);
    }
}

std::string systemText() {
    utsname system{};
    return uname(&system) == 0 ? std::string(system.sysname) + " " + system.release + " " + system.machine
                               : "";
}

} // namespace gbe
