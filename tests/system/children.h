// Programs as children of a test, each with a board of its own on the same network interface.
#pragma once

#include "support/net_namespace.h"
#include "system/session.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <utility>

inline constexpr const char* kBoard = "[board 0]\n[board 0 port 0]\ninterface = host0\n";

// What the processes share.
struct Common {
    std::atomic<bool> go{false}; // the cameras are there
    std::atomic<int> ready{0};
    std::atomic<bool> done{false};
    struct Result {
        std::atomic<long> good{0};
        std::atomic<long> failed{0};
        std::atomic<long> wrong{0};
        std::atomic<int> codes[8]{};
    } of[4];
};

class CommonMemory {
public:
    CommonMemory()
        : m_place(mmap(nullptr, sizeof(Common), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        new (m_place) Common;
    }
    ~CommonMemory() { munmap(m_place, sizeof(Common)); }
    CommonMemory(const CommonMemory&) = delete;
    CommonMemory& operator=(const CommonMemory&) = delete;
    Common& operator*() const { return *static_cast<Common*>(m_place); }
    Common* operator->() const { return &**this; }

private:
    void* m_place;
};

// A process that is made while this one has one thread, and begins its work when it is told to.
class Child {
public:
    Child(Common& common, const test_support::NetNamespace& space, const std::function<void()>& work) {
        m_process = fork();
        if (m_process == 0) {
            const test_support::NetNamespace::Inside inside(space);
            while (!common.go) {
                usleep(1000);
            }
            work();
            _exit(0);
        }
    }
    ~Child() {
        if (m_process > 0) { // -1 would be everybody
            kill(m_process, SIGKILL);
        }
        wait();
    }
    void wait() {
        int status = 0;
        m_process > 0 ? waitpid(std::exchange(m_process, -1), &status, 0) : 0;
    }
    pid_t id() const { return m_process; }

private:
    pid_t m_process;
};

// The board of this process, and the camera with a MAC address that ends so.
struct Program {
    explicit Program(unsigned char lastByte) {
        std::string error;
        softboard::loadConfiguration(kBoard, error);
        const unsigned char mac[] = {2, 0, 0, 0, 0, lastByte};
        const bool found = Gbe_initBoard(0, 0, &board) == 0 && Gbe_scanNetwork(board, 0, 0) == 0 &&
                           Gbe_getCameraByMac(board, 0, mac, &camera) == 0;
        if (!found) {
            _exit(1);
        }
    }

    BoardHandle* board = nullptr;
    CameraHandle* camera = nullptr;
};
