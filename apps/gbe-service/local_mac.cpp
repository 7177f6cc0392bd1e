#include "local_mac.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QString>
#include <QtCore/QSysInfo>

#include <algorithm>

namespace gbe_service {
namespace {

constexpr unsigned char kLocallyAdministered = 0x02;

} // namespace

Mac localMac(unsigned board, unsigned port) {
    QByteArray seed = QSysInfo::machineUniqueId();
    if (seed.isEmpty()) { // a container without /etc/machine-id
        seed = QSysInfo::machineHostName().toUtf8();
    }
    seed += " gbe-service board " + QByteArray::number(board) + " port " + QByteArray::number(port);
    const QByteArray hash = QCryptographicHash::hash(seed, QCryptographicHash::Sha256);
    Mac mac;
    mac[0] = kLocallyAdministered;
    std::copy_n(hash.begin(), mac.size() - 1, mac.begin() + 1);
    return mac;
}

} // namespace gbe_service
