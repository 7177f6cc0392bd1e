#include "netif/interface.h"

#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace netif {

namespace {

class Question {
public:
    Question(const std::string& name, int socket) : m_socket(socket) {
        std::memcpy(m_request.ifr_name, name.c_str(), name.size() + 1); // the length is checked before
    }

    bool ask(unsigned long what) { return ioctl(m_socket, what, &m_request) == 0; }
    const ifreq& answer() const { return m_request; }

    Ipv4 address() const {
        sockaddr_in address{};
        std::memcpy(&address, &m_request.ifr_addr, sizeof address);
        Ipv4 bytes;
        std::memcpy(bytes.data(), &address.sin_addr, bytes.size());
        return bytes;
    }

private:
    const int m_socket;
    ifreq m_request{};
};

InterfaceState failed(int error, std::string message) {
    InterfaceState state;
    state.error = error;
    state.message = std::move(message);
    return state;
}

} // namespace

bool isInterfaceName(const std::string& name) {
    return !name.empty() && name.size() < IFNAMSIZ && name.find_first_of(" \t\r\n/:") == name.npos &&
           name.find('\0') == name.npos && name != "." && name != "..";
}

InterfaceState queryInterface(const std::string& name) {
    const int asking = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0); // it never sends
    InterfaceState state = queryInterface(name, asking);
    if (asking >= 0) {
        close(asking);
    }
    return state;
}

InterfaceState queryInterface(const std::string& name, int socket) {
    if (!isInterfaceName(name)) {
        return failed(EINVAL, "\"" + name + "\" cannot be the name of a network interface");
    }
    Question question(name, socket);
    InterfaceState state;
    if (!question.ask(SIOCGIFINDEX)) {
        const int error = errno;
        return failed(
            error, error == ENODEV ? "there is no network interface " + name
                                   : "network interface " + name + ": " + std::strerror(error));
    }
    state.index = question.answer().ifr_ifindex;
    if (question.ask(SIOCGIFFLAGS)) {
        const auto flags = static_cast<unsigned short>(question.answer().ifr_flags);
        state.up = (flags & IFF_UP) != 0;
        state.carrier = state.up && (flags & IFF_RUNNING) != 0;
    }
    if (question.ask(SIOCGIFMTU)) {
        state.mtu = question.answer().ifr_mtu;
    }
    if (question.ask(SIOCGIFHWADDR)) {
        if (question.answer().ifr_hwaddr.sa_family != ARPHRD_ETHER) {
            state.error = EPROTONOSUPPORT;
            state.message = "network interface " + name + " is not an Ethernet interface";
            return state;
        }
        std::memcpy(state.mac.data(), question.answer().ifr_hwaddr.sa_data, state.mac.size());
    }
    if (question.ask(SIOCGIFADDR)) {
        state.address = question.address();
        if (question.ask(SIOCGIFNETMASK)) {
            state.netmask = question.address();
        }
    }
    return state;
}

} // namespace netif
