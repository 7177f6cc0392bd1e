// The images of one camera: the library's end of an image path, and the camera's stream channel.
//
//                        fail(): a waiter is told why          end()                  close()
//     open ────────────────────────────────────► failed ───────────────► ended ───────────────► closed
//       └─────────────────────────── end(), close() pass through ───────────────────────────────┘
//
// While the link is gone waiters are told so; nothing fails for that, it may come back. What failed keeps its
// first reason. What has ended uses nothing of the port any more; borrowed images stay until it is closed.
//
// Threads: any, at any time, once it is open. None of the calls holds a lock while it waits for an image or
// asks the camera. No port may be held.
#pragma once

#include "board/CameraPort.h"
#include "liomol/images.h"
#include "streaming/BufferMemory.h"
#include "streaming/CameraRegisters.h"
#include "streaming/Payload.h"
#include "streaming/image_path.h"
#include "streaming/image_shape.h"
#include "streaming/packet_size.h"
#include "util/status.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace streaming {

class ImageStream {
public:
    // The path outlives the stream. The options are whole and make sense; see readOptions().
    ImageStream(
        const TavoImagePath& path, board::CameraPort& place, std::shared_ptr<board::Device> device,
        const GbeStreamOptions& options);
    ~ImageStream() { close(); }
    ImageStream(const ImageStream&) = delete;
    ImageStream& operator=(const ImageStream&) = delete;

    // Once, before all else; a status. Throws what features and registers throw. After a failure the stream
    // is to be closed.
    int open();

    int wait(int timeoutMs, GbeImage& image);
    int giveBack(std::uint64_t id);
    void getStatistics(GbeStreamStatistics& out);
    // Brings what everybody sees of the stream up to date, where that is due; waiting for images does it,
    // too.
    void count();
    // Why nothing arrives; empty when that is not known. Throws what features and registers throw.
    std::string findTrouble();

    // The camera is about to start: images are what its features say now.
    void restart();

    void fail(int reason);
    void end(int reason);
    // Only once; the camera's stream channel, too, when nothing has failed.
    void close();
    // 0 while it is open, and else the reason of its end.
    int reason() const;
    // What there is to tell of it.
    std::string reasonText() const;
    // Whether the port is free for another stream.
    bool isEnded() const;

    const board::CameraPort& place() const { return m_place; }

private:
    class Use;
    struct Borrowed {
        std::uint64_t id = 0; // 0: it is not borrowed
        Payload payload;
    };

    int takeMemory(const ImageShape& shape);
    bool setAddresses();
    void setShape(const ImageShape& shape);
    int openPath();
    void setUpChannel(const CameraRegisters& registers);
    void choosePacketSize(const CameraRegisters& registers);
    void closeChannel();
    std::shared_ptr<board::Device> device() const;
    TavoImageStatistics pathStatistics();
    void countImage(const TavoImage& arrived);
    void countPackets(const TavoImageStatistics& now);
    void countPacketsIfDue(TavoImageStream* stream);
    TestPackets testPackets();
    std::string askForTrouble(board::Device& camera);
    std::string findPacketTrouble(const CameraRegisters& registers);
    void present(const TavoImage& arrived, GbeImage& image);
    std::uint64_t nanoseconds(std::uint64_t ticks) const;

    const TavoImagePath& m_path;
    board::CameraPort& m_place;
    GbeStreamOptions m_options;
    BufferMemory m_memory;
    std::size_t m_bufferSize = 0;

    // Set by open() alone.
    std::uint64_t m_tickFrequency = 0;
    unsigned m_packetSize = 0;

    std::atomic<bool> m_linkGone{false}; // as the path said last

    std::mutex m_settling;
    TavoImageSettings m_settings{}; // under m_settling

    std::mutex m_ending; // who ends it; taken before m_mutex
    mutable std::mutex m_mutex;
    std::condition_variable m_unused;
    std::shared_ptr<board::Device> m_device; // under m_mutex, as the next four
    TavoImageStream* m_stream = nullptr;
    unsigned m_users = 0; // threads that are inside a call of the path
    int m_reason = status::Success;
    bool m_isEnded = false;

    std::mutex m_borrowing;
    std::vector<Borrowed> m_borrowed; // under m_borrowing; by the number of the buffer
    TavoImageStatistics m_last{};     // of a stream that has ended; under m_ending

    std::mutex m_counting;
    std::chrono::steady_clock::time_point m_nextCount; // under m_counting, as the next one
    TavoImageStatistics m_counted{};
};

} // namespace streaming
