// One Ethernet port of the board: its registers, transmit buffer, filters, counters and data queue.
#pragma once

#include "softboard/CaptureFile.h"
#include "softboard/DataQueue.h"
#include "softboard/FaultyLink.h"
#include "softboard/Hub.h"
#include "softboard/ImageStream.h"
#include "softboard/Phy.h"
#include "softboard/RingReader.h"
#include "softboard/registers.h"
#include "softboard/softboard.h"

#include "netif/PacketRing.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace softboard {

// What the board decides for all of its ports.
struct BoardLines {
    std::atomic<bool> transmit{false};
    std::atomic<bool> receive{false};
};

// The way out:  halfwords -> transmit buffer -> (stamp) -> recorder -> FaultyLink -> Hub -> links
// The way in:   links -> Hub -> FaultyLink -> recorder -> filter -> data queue, or the image path: the open
//               stream, if the packet is of its camera
// or:           ring of an interface -> (FaultyLink, recorder, if there is work for them) -> stream
//
// The port has no address filter: the FPGA has no register for an address, and takes in every frame that
// arrives. Register accesses that transmit want to be serialised by the caller, as the hardware library's do;
// everything else may come from any thread.
class Port {
public:
    // Room of the transmit buffer: above the largest frame that the library builds.
    static constexpr std::size_t kTransmitBytes = 4096;

    // `lines` and `phy` outlive the port.
    Port(const BoardLines& lines, const Phy& phy, std::size_t queueWords);
    ~Port();
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    // Registers as after a fresh applet, and the data queue open; or everything off.
    void setConfigured(bool configured);

    // Values are masked to the register's width already, and the access is allowed.
    int write(PortRegister reg, std::uint32_t value);
    std::uint32_t read(PortRegister reg);

    DataQueue& queue() { return m_queue; }

    void attach(std::shared_ptr<Link> link);
    bool detach(const std::function<bool(const Link&)>& which);
    void detachAll();

    // A result of platform/image_path.h; the settings are checked. The stream ends when the port is not
    // configured any more, and frees the port when it is closed.
    int openStream(const TavoImageSettings& settings, std::shared_ptr<ImageStream>& stream);
    void closeStream(const std::shared_ptr<ImageStream>& stream);

    // Detaches everything and ends the port's threads, for good.
    void shutDown();

    bool carrier() const { return m_wire.carrier(); }
    bool linkUp() const { return m_phy.negotiated() && carrier(); }

    void setFaultPlan(const FaultPlan& plan) { m_wire.setPlan(plan); }
    void setCapture(std::shared_ptr<CaptureFile> capture);

    // A frame behind the PHY.
    void receive(const std::uint8_t* frame, std::size_t size);

    PortState state() const;

private:
    using Counter = std::atomic<std::uint64_t>;

    void setImagePort(std::uint16_t udpPort);
    int load(std::uint16_t halfword);
    int transmit();
    void stamp();
    void leave(const std::uint8_t* frame, std::size_t size);
    bool forImagePath(const std::uint8_t* frame, std::size_t size) const;
    bool toStream(const std::uint8_t* frame, std::size_t size);
    std::unique_ptr<ImageStream::Keeper>
    makeKeeper(ImageStream& stream, const TavoImageSettings& settings, int& error);
    void takeFromRing(ImageStream& stream, RingReader& reader);
    std::shared_ptr<ImageStream> stream() const;
    void tellStreamOfLink();
    void setStreamAllowed(bool allowed);
    void forget(const std::shared_ptr<ImageStream>& stream);
    void record(const std::uint8_t* frame, std::size_t size);

    const BoardLines& m_lines;
    const Phy& m_phy;
    const std::shared_ptr<Hub> m_hub = std::make_shared<Hub>();
    FaultyLink m_wire;
    DataQueue m_queue;

    // The transmit side, of the thread that transmits; atomics where others look on.
    std::array<std::uint8_t, kTransmitBytes> m_frame{};
    std::size_t m_frameSize = 0;
    bool m_overflow = false;
    std::atomic<bool> m_transmitEnable{false};
    std::atomic<bool> m_stampEnable{false};
    std::atomic<std::uint32_t> m_requestId{0};
    std::atomic<std::uint32_t> m_heartbeatEnable{0};
    std::atomic<std::uint16_t> m_imagePort{0};
    std::atomic<std::uint16_t> m_lineLength{0};

    Counter m_sent{0}, m_notSent{0}, m_received{0}, m_toImagePath{0}, m_errors{0}, m_queueDrops{0},
        m_ignored{0};

    std::atomic<bool> m_streaming{false};
    mutable std::mutex m_streamMutex; // guards what follows
    bool m_streamAllowed = false;
    std::shared_ptr<ImageStream> m_stream;
    std::weak_ptr<ImageStream> m_lastStream; // that may use the ring

    std::atomic<bool> m_recording{false};
    std::mutex m_captureMutex;
    std::shared_ptr<CaptureFile> m_capture; // guarded by m_captureMutex
};

} // namespace softboard
