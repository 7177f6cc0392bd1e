// liomol-netport: opens packet sockets for the board in software of programs that have no right to, each with
// a filter that is locked, and hands them over. It does nothing else. Its file has the capability CAP_NET_RAW
// and may be run by one group; all that comes in is that group's, and is believed in nothing.
#include "common/settings_file.h"
#include "netif/lending.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using netif::Filter;
using netif::LoanReply;
using netif::LoanRequest;
using netif::Traffic;

constexpr const char* kFile = LIOMOL_BOARD_FILE; // that says which interfaces are ports; nothing else does
constexpr std::size_t kLargestFile = std::size_t{1} << 20;
constexpr std::uint16_t kFirstFreePort = 1024; // below are the system's own services
constexpr timeval kPatience{5, 0};

// The first reason why it cannot be; one line.
struct Refusal {
    std::string line;
};

void refuseIf(bool wrong, const std::string& line) {
    if (wrong) {
        throw Refusal{line};
    }
}

// One group may run it: a file that anybody may run would give the right to anybody.
void checkOwnFile() {
    struct stat own {};
    refuseIf(stat("/proc/self/exe", &own) != 0, "liomol-netport cannot look at its own file");
    refuseIf(
        (own.st_mode & (S_IXOTH | S_IWOTH)) != 0,
        "liomol-netport may be run by anybody: chmod 0750 " LIOMOL_NETPORT);
}

// What root has written and nobody else can have changed.
std::string readBoardFile() {
    const std::string name = kFile;
    const int file = open(kFile, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    refuseIf(file < 0, name + ": " + std::strerror(errno));
    struct stat status {};
    refuseIf(fstat(file, &status) != 0 || !S_ISREG(status.st_mode), name + " is not a file");
    refuseIf(status.st_uid != 0, name + " does not belong to root, so that it is not believed");
    refuseIf(
        (status.st_mode & (S_IWGRP | S_IWOTH)) != 0,
        name + " may be written by others than root, so that it is not believed");
    std::string text(kLargestFile + 1, '\0');
    std::size_t size = 0;
    for (ssize_t got = 1; got > 0 && size < text.size(); size += static_cast<std::size_t>(got)) {
        got = read(file, &text[size], text.size() - size);
        refuseIf(got < 0, name + ": " + std::strerror(errno));
    }
    close(file);
    refuseIf(size > kLargestFile, name + " is too large");
    text.resize(size);
    return text;
}

bool isNamed(const std::string& interface) {
    const std::string text = readBoardFile();
    common::SettingsReader reader(text, kFile);
    bool named = false;
    for (bool inPort = false; reader.next();) {
        if (reader.isSection()) {
            const auto words = common::words(reader.section());
            inPort = words.size() == 4 && words[0] == "board" && words[2] == "port";
        } else {
            named = named || (inPort && reader.key() == "interface" && reader.value() == interface);
        }
    }
    refuseIf(!reader.mistake().empty(), reader.mistake());
    return named;
}

LoanRequest receiveRequest() {
    LoanRequest request;
    int type = 0;
    socklen_t size = sizeof type;
    const bool isSocket = getsockopt(STDIN_FILENO, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
    refuseIf(
        !isSocket || type != SOCK_SEQPACKET,
        "liomol-netport is started by programs that use cameras, not by hand");
    setsockopt(STDIN_FILENO, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
    const ssize_t got = recv(STDIN_FILENO, &request, sizeof request, MSG_TRUNC);
    refuseIf(
        got != static_cast<ssize_t>(sizeof request) || request.version != netif::kLoanVersion,
        "liomol-netport and this program are of different versions");
    return request;
}

bool isFree(std::uint16_t udpPort) {
    return udpPort == 0 || udpPort >= kFirstFreePort;
}

void check(const LoanRequest& request) {
    const Traffic& traffic = request.traffic;
    const std::size_t length = strnlen(request.interface, sizeof request.interface);
    refuseIf(
        length == sizeof request.interface || !netif::isInterfaceName(request.interface),
        "this cannot be the name of a network interface");
    refuseIf(traffic.kind > Traffic::Kind::Acknowledgements, "there is no such kind of traffic");
    refuseIf(traffic.mac.isGroup(), "a port cannot have the MAC address of a group");
    refuseIf(
        !isFree(traffic.udpPort) || !isFree(traffic.packets.udpPort),
        "a port cannot use the UDP ports below 1024");
    const bool images = traffic.kind == Traffic::Kind::Images || traffic.kind == Traffic::Kind::ImageEnds;
    refuseIf(
        images && (traffic.packets.udpPort == 0 || !traffic.packets.camera.isStation()),
        "an image stream has a camera and a UDP port");
    refuseIf(!isNamed(request.interface), std::string(kFile) + " does not name " + request.interface);
}

// Where packets come in that are for this computer itself.
std::vector<netif::Ipv4> ownAddresses() {
    std::vector<netif::Ipv4> all;
    ifaddrs* list = nullptr;
    refuseIf(getifaddrs(&list) != 0, std::string("cannot list the addresses: ") + std::strerror(errno));
    for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
        if (each->ifa_addr != nullptr && each->ifa_addr->sa_family == AF_INET) {
            sockaddr_in address{};
            std::memcpy(&address, each->ifa_addr, sizeof address);
            netif::Ipv4& ip = all.emplace_back();
            std::memcpy(ip.data(), &address.sin_addr, ip.size());
        }
    }
    freeifaddrs(list);
    refuseIf(all.size() > netif::kMostBarred, "this computer has too many addresses");
    return all;
}

int openSocket(const Filter& filter) {
    // Without a protocol nothing comes in before the borrower binds it, and then through the filter.
    const int packets = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    refuseIf(
        packets < 0 && prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1,
        "this program was started so that it can get no more rights (no_new_privs)");
    refuseIf(
        packets < 0 && errno == EPERM,
        "liomol-netport lacks its right: setcap cap_net_raw+ep " LIOMOL_NETPORT);
    refuseIf(packets < 0, std::string("no packet socket: ") + std::strerror(errno));
    sock_fprog program{};
    program.len = static_cast<unsigned short>(filter.size());
    program.filter = const_cast<sock_filter*>(filter.data()); // the kernel only reads it
    const int on = 1;
    refuseIf(
        setsockopt(packets, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) != 0 ||
            setsockopt(packets, SOL_SOCKET, SO_LOCK_FILTER, &on, sizeof on) != 0,
        std::string("the kernel does not take the filter: ") + std::strerror(errno));
    return packets;
}

bool reply(const LoanReply& reply, int packets) {
    iovec place{const_cast<LoanReply*>(&reply), sizeof reply}; // the kernel only reads it
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof packets)] = {};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    if (packets >= 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* const part = CMSG_FIRSTHDR(&message);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(sizeof packets);
        std::memcpy(CMSG_DATA(part), &packets, sizeof packets);
    }
    return sendmsg(STDIN_FILENO, &message, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof reply);
}

int lend() {
    LoanReply answer;
    int packets = -1;
    try {
        const LoanRequest request = receiveRequest(); // first: what nobody reads would break the answer's way
        checkOwnFile();
        check(request);
        answer.index = static_cast<std::int32_t>(if_nametoindex(request.interface));
        const Filter filter = netif::makeFilter(request.traffic);
        packets = openSocket(netif::barred(filter, answer.index, ownAddresses()));
    } catch (const Refusal& refusal) {
        refusal.line.copy(answer.refusal, sizeof answer.refusal - 1);
    }
    if (!reply(answer, packets)) {
        std::fprintf(stderr, "liomol-netport: %s\n", answer.refusal);
        return 1;
    }
    return packets >= 0 ? 0 : 1;
}

} // namespace

int main() {
    close_range(STDERR_FILENO + 1, ~0U, 0);
    environ = nullptr;
    return lend();
}
