// The named door through which registers reach camera memory.
#pragma once

#include "genicam/nodes/node_interfaces.h"

#include <mutex>

namespace tavo {

// Looks up the transport port of its own name at the device on every access, so that a port may be registered
// after the tree was built; GicPortNotAvailableException until then. Bytes pass unchanged, whatever
// "SwapEndianess" says: byte order is a matter of registers. Calls through one node run one after another.
class ImplGenICamPort : public ImplGenICamPortInterface,
                        public GenICamBatchReadInterface,
                        public virtual GenICamPort {
public:
    void read(unsigned char* buffer, long long address, long long length) override;
    void write(unsigned char* buffer, long long address, long long length) override;
    void setConnection(int board, int port, unsigned int ip) override;
    // Reads nothing while there is no transport port, or one that reads places one by one only.
    bool readMany(Place* places, unsigned count) override;

    std::int64_t getChunkId() const;
    void setChunkId(std::int64_t id) { m_chunkId = id; }
    void setPChunkId(GenICamNode* node) { m_pChunkId.set(node); }
    void setSwapEndianess(GenICamTypes::GenICamYesNoType swap) { m_swapEndianess = swap; }
    GenICamTypes::GenICamYesNoType getSwapEndianess() const { return m_swapEndianess; }

private:
    GenICamPortInterface& transport() const;

    std::mutex m_access;
    std::int64_t m_chunkId = 0;
    NumberReference m_pChunkId;
    GenICamTypes::GenICamYesNoType m_swapEndianess = GenICamTypes::GenICamYesNoType::NotGiven;
};

} // namespace tavo
