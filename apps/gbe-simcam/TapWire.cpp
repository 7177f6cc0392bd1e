#include "Wire.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace gbe_simcam {

namespace {

constexpr std::size_t kLargestFrame = 65536;

class Descriptor {
public:
    explicit Descriptor(int file) : m_file(file) {}
    ~Descriptor() {
        if (m_file >= 0) {
            close(m_file);
        }
    }
    Descriptor(Descriptor&& other) noexcept : m_file(other.m_file) { other.m_file = -1; }
    Descriptor& operator=(Descriptor&&) = delete;
    int get() const { return m_file; }

private:
    int m_file;
};

class TapWire : public Wire {
public:
    TapWire(Descriptor device, Descriptor event)
        : m_device(std::move(device)), m_event(std::move(event)), m_buffer(kLargestFrame) {}

    void send(const std::uint8_t* frame, std::size_t size) override {
        const bool left = write(m_device.get(), frame, size) == static_cast<ssize_t>(size);
        ++(left ? m_sent : m_dropped);
    }
    std::span<const std::uint8_t> receive(Clock::time_point deadline) override {
        const ssize_t got = read(m_device.get(), m_buffer.data(), m_buffer.size());
        if (got > 0) {
            ++m_received;
            return {m_buffer.data(), static_cast<std::size_t>(got)};
        }
        pollfd files[] = {{m_device.get(), POLLIN, 0}, {m_event.get(), POLLIN, 0}};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        poll(files, 2, static_cast<int>(left > 0 ? left : 0));
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = read(m_event.get(), &count, sizeof count);
        return {};
    }
    void interrupt() override {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t put = write(m_event.get(), &one, sizeof one);
    }
    Counters counters() override { return {m_sent, m_received, m_dropped}; }

private:
    const Descriptor m_device;
    const Descriptor m_event;
    std::vector<std::uint8_t> m_buffer;
    std::atomic<std::uint64_t> m_sent{0};
    std::atomic<std::uint64_t> m_received{0};
    std::atomic<std::uint64_t> m_dropped{0};
};

ifreq requestFor(const std::string& name) {
    ifreq request{};
    name.copy(request.ifr_name, sizeof request.ifr_name - 1);
    return request;
}

// Whether the device is on now; errno says why not.
bool switchOn(const std::string& name) {
    const Descriptor any(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request = requestFor(name);
    if (ioctl(any.get(), SIOCGIFFLAGS, &request) != 0) {
        return false;
    }
    const bool on = (request.ifr_flags & IFF_UP) != 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    return on || ioctl(any.get(), SIOCSIFFLAGS, &request) == 0;
}

std::string whyNot(const std::string& name, int problem) {
    const bool right = problem == EPERM || problem == EACCES;
    return "TAP device " + name + ": " +
           (right ? "no right to make it: run as root, or give the program CAP_NET_ADMIN: "
                    "setcap cap_net_admin+ep PROGRAM"
                  : std::strerror(problem));
}

} // namespace

std::unique_ptr<Wire> openTap(const std::string& name, std::string& error) {
    if (name.empty() || name.size() >= IFNAMSIZ || name.find_first_of(" /\t") != name.npos) {
        error = "'" + name + "' is not the name of an interface";
        return nullptr;
    }
    Descriptor device(open("/dev/net/tun", O_RDWR | O_CLOEXEC | O_NONBLOCK));
    Descriptor event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    ifreq request = requestFor(name);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    const bool made = device.get() >= 0 && event.get() >= 0 && ioctl(device.get(), TUNSETIFF, &request) == 0;
    if (!made || !switchOn(name)) {
        error = whyNot(name, errno);
        return nullptr;
    }
    return std::make_unique<TapWire>(std::move(device), std::move(event));
}

} // namespace gbe_simcam
