// The camera's stream channel: the frames that acquisition exposes leave as blocks of GVSP packets. A value
// machine: registers and a clock in, packets out.
//
//     StreamPort and StreamDestination set          exposed, or skipped            its time has come
//     closed ─────────────────────────────► waiting ──────────────► block under way ──────────────► sent
//       ▲                                                                │
//       └── either is 0, control lost ── (the block ends here) ──────────┘  AcquisitionAbort: likewise
//
// The packets of a block are spread over the time that the camera's link takes for them, and farther apart by
// what StreamPacketDelay says. One thread at a time.
#pragma once

#include "simcam/AcquisitionModel.h"
#include "simcam/Block.h"
#include "simcam/BootstrapModel.h"
#include "simcam/PastBlocks.h"
#include "simcam/Pictures.h"

namespace simcam {

class StreamModel : public RegisterModel {
public:
    struct Parts {
        Registers& registers;
        BootstrapModel& bootstrap;
        AcquisitionModel* acquisition; // null: nothing is ever exposed
        Station& station;
        std::shared_ptr<const PictureFolder> folder; // may be null
    };
    // All parts outlive this.
    explicit StreamModel(const Parts& parts) : m_parts(parts), m_pictures(parts.folder) {}

    void refresh(Time) override;
    void written(Reg reg, std::uint32_t index, Time now) override;
    void controlLost(Time) override { close(); }

    // Packets are wanted again. Who does not receive the stream is not answered.
    void resend(const ResendRequest& request);

    // Adds the packets whose time has come, until the batch is full.
    void next(Time now, PacketBatch& out);
    // What would be sent by now, or is asked for, is not: nobody can be reached.
    void pass(Time now);
    // When next() has something to do, if nothing happens before.
    std::optional<Time> deadline() const;

    // What has left since the start or the last StatisticsReset.
    struct Statistics {
        std::uint64_t frames = 0; // with their last packets
        std::uint64_t packets = 0;
        std::uint64_t bytes = 0;   // of IP packets
        std::uint64_t resent = 0;  // of those packets, because they were asked for
        std::uint64_t refused = 0; // packets that were asked for in vain
    };
    Statistics statistics() const;

private:
    struct UnderWay {
        std::shared_ptr<const Block> block;
        std::uint32_t next = 0;              // packet
        Time start{};                        // when its leader was due
        std::chrono::nanoseconds interval{}; // between packets
    };

    bool isOpen() const;
    bool hasWork() const;
    void close();
    PastBlocks::UnderWay underWay() const;
    std::optional<Mac> findReceiver(Time now, PacketBatch& out);
    StreamFrames frames(Mac receiver) const;
    bool begin();
    std::shared_ptr<const Block> makeBlock(const AcquisitionModel::Exposure& exposure);
    void showPicture(Block& block);
    void addChunks(Block& block);
    void sendBlocks(Time now, StreamFrames& frames, PacketBatch& out);
    Time due() const { return m_current->start + m_current->next * m_current->interval; }

    Parts m_parts;
    std::uint64_t m_opened = 0;        // frames that were exposed before the stream was opened
    std::optional<UnderWay> m_current; // block
    PastBlocks m_past;
    Pictures m_pictures;
    Time m_linkFree{};           // when the last block will have left
    Time m_looked{};             // the last call of next()
    std::optional<Time> m_asked; // for the receiver's MAC address, which is not known
    Statistics m_sent;           // without what was asked for again
};

} // namespace simcam
