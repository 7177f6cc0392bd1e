#include "transport/DiscoveryTable.h"

#include <algorithm>
#include <utility>

namespace transport {
namespace {

template<class Field> void copyField(const DiscoveryAckData& ack, std::size_t offset, Field& field) {
    std::copy_n(ack.bytes.begin() + static_cast<std::ptrdiff_t>(offset), sizeof(field), field);
}

} // namespace

const DiscoveredCamera* DiscoveryTable::at(int index) const {
    return index >= 0 && index < m_count ? &m_records[static_cast<std::size_t>(index)] : nullptr;
}

const DiscoveredCamera* DiscoveryTable::find(const unsigned char* mac) const {
    const auto end = m_records.begin() + m_count;
    const auto found = std::find_if(m_records.begin(), end, [mac](const DiscoveredCamera& camera) {
        return std::equal(std::begin(camera.mac), std::end(camera.mac), mac);
    });
    return found != end ? &*found : nullptr;
}

DiscoveredCamera* DiscoveryTable::find(const unsigned char* mac) {
    return const_cast<DiscoveredCamera*>(std::as_const(*this).find(mac));
}

int DiscoveryTable::add(const DiscoveryAckData& ack) {
    if (m_count == kMaxCameras || find(&ack.bytes[gvcp::discovery::kMac]) != nullptr) {
        return 0; // one too many is dropped without a word
    }
    DiscoveredCamera& camera = m_records[static_cast<std::size_t>(m_count)];
    copyField(ack, gvcp::discovery::kMac, camera.mac);
    copyField(ack, gvcp::discovery::kIp, camera.ip);
    copyField(ack, gvcp::discovery::kManufacturerName, camera.manufacturerName);
    copyField(ack, gvcp::discovery::kModelName, camera.modelName);
    copyField(ack, gvcp::discovery::kDeviceVersion, camera.deviceVersion);
    copyField(ack, gvcp::discovery::kManufacturerInfo, camera.manufacturerInfo);
    copyField(ack, gvcp::discovery::kSerialNumber, camera.serialNumber);
    copyField(ack, gvcp::discovery::kUserDefinedName, camera.userDefinedName);
    return ++m_count;
}

} // namespace transport
