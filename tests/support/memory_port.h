// Camera memory behind a port: 64 KiB from address 0, with counts of what was done to it.
#pragma once

#include "liomol/GenICamPortInterface.h"
#include "liomol/exceptions.h"

#include <algorithm>
#include <atomic>
#include <initializer_list>
#include <vector>

namespace test_support {

class MemoryPort : public tavo::GenICamPortInterface {
public:
    void read(unsigned char* buffer, long long address, long long length) override {
        const Visit visit(*this);
        ++reads;
        if (failing) {
            std::fill_n(buffer, length, static_cast<unsigned char>(0xEE)); // what a broken transport leaves
            throw tavo::GicTransportLayerException();
        }
        checkRange(address, length);
        std::copy_n(memory.begin() + address, length, buffer);
    }

    void write(unsigned char* buffer, long long address, long long length) override {
        const Visit visit(*this);
        ++writes;
        if (failing) {
            throw tavo::GicTransportLayerException();
        }
        checkRange(address, length);
        std::copy_n(buffer, length, memory.begin() + address);
    }

    void setConnection(int newBoard, int newPort, unsigned newIp) override {
        board = newBoard;
        port = newPort;
        ip = newIp;
    }

    void put(long long address, std::initializer_list<unsigned char> bytes) {
        std::copy(bytes.begin(), bytes.end(), memory.begin() + address);
    }
    std::vector<unsigned char> bytes(long long address, long long length) const {
        return {memory.begin() + address, memory.begin() + address + length};
    }

    std::vector<unsigned char> memory = std::vector<unsigned char>(0x10000);
    std::atomic<int> reads = 0;
    std::atomic<int> writes = 0;
    std::atomic<bool> failing = false;
    std::atomic<bool> overlapped = false; // two calls were under way at once
    int board = 0;
    int port = 0;
    unsigned ip = 0;

private:
    struct Visit {
        explicit Visit(MemoryPort& port) : visited(port) {
            if (visited.m_inside.fetch_add(1) != 0) {
                visited.overlapped = true;
            }
        }
        ~Visit() { visited.m_inside.fetch_sub(1); }
        MemoryPort& visited;
    };

    void checkRange(long long address, long long length) const {
        if (address < 0 || length < 0 || address + length > static_cast<long long>(memory.size())) {
            throw tavo::GicTransportLayerException();
        }
    }

    std::atomic<int> m_inside = 0;
};

} // namespace test_support
