// Camera memory behind a port: 64 KiB from address 0, with counts of what was done to it.
#pragma once

#include "liomol/GenICamPortInterface.h"
#include "liomol/exceptions.h"

#include <algorithm>
#include <atomic>
#include <span>
#include <vector>

namespace test_support {

class MemoryPort : public tavo::GenICamPortInterface, public tavo::GenICamBatchReadInterface {
public:
    void read(unsigned char* buffer, long long address, long long length) override {
        ++reads;
        if (failing) {
            std::fill_n(buffer, length, static_cast<unsigned char>(0xEE)); // what a broken transport leaves
            throw tavo::GicTransportLayerException();
        }
        checkRange(address, length);
        std::copy_n(memory.begin() + address, length, buffer);
    }

    void write(unsigned char* buffer, long long address, long long length) override {
        ++writes;
        if (failing) {
            throw tavo::GicTransportLayerException();
        }
        checkRange(address, length);
        std::copy_n(buffer, length, memory.begin() + address);
    }

    // Counts as one read.
    bool readMany(Place* places, unsigned count) override {
        const int before = reads;
        for (Place& place : std::span(places, count)) {
            read(place.buffer, place.address, place.length);
            place.isRead = true;
        }
        reads = before + 1;
        return true;
    }

    void setConnection(int newBoard, int newPort, unsigned newIp) override {
        board = newBoard;
        port = newPort;
        ip = newIp;
    }

    std::vector<unsigned char> bytes(long long address, long long length) const {
        return {memory.begin() + address, memory.begin() + address + length};
    }

    std::vector<unsigned char> memory = std::vector<unsigned char>(0x10000);
    std::atomic<int> reads = 0;
    std::atomic<int> writes = 0;
    std::atomic<bool> failing = false;
    int board = 0;
    int port = 0;
    unsigned ip = 0;

private:
    void checkRange(long long address, long long length) const {
        if (address < 0 || length < 0 || address + length > static_cast<long long>(memory.size())) {
            throw tavo::GicTransportLayerException();
        }
    }
};

} // namespace test_support
