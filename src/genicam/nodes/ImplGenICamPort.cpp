#include "genicam/nodes/ImplGenICamPort.h"

#include "genicam/nodes/NodeHost.h"
#include "genicam/nodes/failures.h"
#include "liomol/exceptions.h"

namespace tavo {

GenICamPortInterface& ImplGenICamPort::transport() const {
    GenICamPortInterface* const port = getHost() != nullptr ? getHost()->findPort(getName()) : nullptr;
    if (port == nullptr) {
        util::fail<GicPortNotAvailableException>([this] {
            const bool isOld = getHost() != nullptr && getHost()->isClosed();
            const bool isOfChunk = m_chunkId != 0 || m_pChunkId;
            return isOld       ? std::string("the features are those of an earlier connection")
                   : isOfChunk ? "it comes with images, as the chunk of the port " + getName()
                               : "nothing leads to the camera for the port " + getName();
        });
    }
    return *port;
}

void ImplGenICamPort::read(unsigned char* buffer, long long address, long long length) {
    const std::lock_guard lock(m_access);
    transport().read(buffer, address, length);
}

void ImplGenICamPort::write(unsigned char* buffer, long long address, long long length) {
    const std::lock_guard lock(m_access);
    transport().write(buffer, address, length);
}

void ImplGenICamPort::setConnection(int board, int port, unsigned int ip) {
    transport().setConnection(board, port, ip);
}

bool ImplGenICamPort::readMany(Place* places, unsigned count) {
    const std::lock_guard lock(m_access);
    GenICamPortInterface* const port = getHost() != nullptr ? getHost()->findPort(getName()) : nullptr;
    auto* const batches = dynamic_cast<GenICamBatchReadInterface*>(port);
    return batches != nullptr && batches->readMany(places, count);
}

std::int64_t ImplGenICamPort::getChunkId() const {
    return m_pChunkId ? m_pChunkId.getInteger() : m_chunkId;
}

} // namespace tavo
