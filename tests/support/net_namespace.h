// Network namespaces and virtual wires between them, made by the test itself. As root, or as anybody where
// the system lets users have namespaces of their own; elsewhere a test skips with the reason:
//     VirtualWire wire;
//     if (!wire.error().empty()) GTEST_SKIP() << wire.error();
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <unistd.h>

namespace test_support {

// An empty network of its own, with nothing in it but a loopback that is on. To be made by a process that has
// one thread. The calling thread stays where it was, except that the first namespace of an ordinary user is
// also the one in which its process goes on: there is no way back.
class NetNamespace {
public:
    NetNamespace() {
        const int home = current();
        if (unshareNetwork()) {
            m_file = current();
            run("ip link set lo up");
            const char* const noIpv6 = "/proc/sys/net/ipv6/conf/default/disable_ipv6";
            writeFile(noIpv6, "1"); // where the kernel has it: interfaces then keep quiet
        }
        setns(home, CLONE_NEWNET);
        close(home);
    }
    ~NetNamespace() {
        if (m_file >= 0) {
            close(m_file);
        }
    }
    NetNamespace(const NetNamespace&) = delete;
    NetNamespace& operator=(const NetNamespace&) = delete;

    const std::string& error() const { return m_error; }
    int file() const { return m_file; }
    // What other programs can open it by while this object lives.
    std::string path() const { return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_file); }

    // While it lives the calling thread is in the namespace, with the sockets that it makes and the threads
    // and processes that it starts.
    class Inside {
    public:
        explicit Inside(const NetNamespace& space) : m_home(current()) { setns(space.file(), CLONE_NEWNET); }
        ~Inside() {
            setns(m_home, CLONE_NEWNET);
            close(m_home);
        }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;

    private:
        const int m_home;
    };

    // Runs a shell command in it; false when that fails.
    bool shell(const std::string& command) const {
        const Inside inside(*this);
        return run(command);
    }

private:
    static int current() { return open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC); }
    static bool run(const std::string& command) { return std::system(command.c_str()) == 0; }

    static bool writeFile(const char* name, const std::string& text) {
        std::FILE* const file = std::fopen(name, "w");
        const bool good = file != nullptr && std::fputs(text.c_str(), file) >= 0;
        return (file == nullptr || std::fclose(file) == 0) && good;
    }

    bool unshareNetwork() {
        if (unshare(CLONE_NEWNET) == 0) {
            return true;
        }
        // A user may have networks within a user namespace of its own: the first one makes that.
        const std::string user = std::to_string(geteuid());
        const std::string group = std::to_string(getegid());
        if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
            m_error = std::string("no right to make a network namespace: ") + std::strerror(errno);
            return false;
        }
        writeFile("/proc/self/setgroups", "deny");
        writeFile("/proc/self/uid_map", "0 " + user + " 1");
        writeFile("/proc/self/gid_map", "0 " + group + " 1");
        return true;
    }

    int m_file = -1;
    std::string m_error;
};

// Two networks and a wire between them: `host0` on this side, `camera0` on the other, both on, without
// addresses and without traffic of their own (no IPv6).
class VirtualWire {
public:
    VirtualWire() {
        if (!error().empty()) {
            return;
        }
        if (!plug()) {
            m_error = "no virtual Ethernet: the ip command or the kernel's veth is missing";
        }
    }

    const std::string& error() const {
        return !host.error().empty() ? host.error() : !camera.error().empty() ? camera.error() : m_error;
    }

    // The wire goes with both its ends when one is removed: `unplug`, and `plug` makes another.
    bool plug() {
        return host.shell("ip link add host0 type veth peer name camera0 netns " + camera.path()) &&
               host.shell("ip link set host0 up") && camera.shell("ip link set camera0 up") &&
               host.shell(untilUp("host0")) && camera.shell(untilUp("camera0"));
    }
    bool unplug() { return host.shell("ip link del host0"); }

    const NetNamespace host;
    const NetNamespace camera;

private:
    // The kernel tells that a wire has two ends after a moment.
    static std::string untilUp(const std::string& name) {
        return "timeout 10 sh -c 'until ip link show " + name + " | grep -q LOWER_UP.*state.UP; do :; done'";
    }

    std::string m_error;
};

} // namespace test_support
