// A camera in another subnet: found, brought in, connected.
#include "system/session.h"

namespace {

constexpr unsigned ip(unsigned a, unsigned b, unsigned c, unsigned d) {
    return a | b << 8 | c << 16 | d << 24;
}

constexpr unsigned kMask = ip(255, 255, 0, 0);
constexpr unsigned kAddress = ip(169, 254, 1, 9);
constexpr unsigned char kMac[6] = {2, 0, 0, 0, 0, 0x77};
constexpr unsigned char kNobody[6] = {2, 0, 0, 0, 0, 0x78};

TEST(Addresses, ACameraOfAnotherSubnetIsFoundAndBroughtIn) {
    Session session;
    session.rig.hang(0, 0, {{"ip", "10.1.2.3"}, {"mask", "255.255.255.0"}, {"mac", "02:00:00:00:00:77"}});
    session.rig.hang(0, 0, {{"mac", "02:00:00:00:00:99"}});
    ASSERT_EQ(Gbe_scanNetwork(session.board(), 0, 0), 0);
    CameraHandle* camera = nullptr;
    ASSERT_EQ(Gbe_getCameraByMac(session.board(), 0, kMac, &camera), 0);
    unsigned address = 0;
    EXPECT_EQ(Gbe_getCameraIp(camera, &address), 0);
    EXPECT_EQ(address, ip(10, 1, 2, 3));

    const struct {
        const char* name;
        unsigned ip, mask, gateway;
        const unsigned char* mac;
        int result;
    } rows[] = {
        {"loopback", ip(127, 0, 0, 1), kMask, 0, kMac, GBE_ERROR_ILLEGAL_PARAMETER},
        {"everybody in it", ip(169, 254, 255, 255), kMask, 0, kMac, GBE_ERROR_ILLEGAL_PARAMETER},
        {"a mask with a hole", kAddress, ip(255, 0, 255, 0), 0, kMac, GBE_ERROR_ILLEGAL_PARAMETER},
        {"a group as the gateway", kAddress, kMask, ip(224, 0, 0, 1), kMac, GBE_ERROR_ILLEGAL_PARAMETER},
        {"no such camera", kAddress, kMask, 0, kNobody, GBE_ERROR_CONNECTION},
        {"good", kAddress, kMask, ip(169, 254, 1, 1), kMac, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Gbe_forceCameraIp(session.board(), 0, row.mac, row.ip, row.mask, row.gateway), row.result)
            << row.name;
        EXPECT_EQ(Gbe_getCameraIp(camera, &address), 0);
        EXPECT_EQ(address == kAddress, row.result == 0) << row.name;
    }
    EXPECT_EQ(Gbe_connectCamera(camera), 0) << "without a scan";
    long long width = 0;
    EXPECT_EQ(Gbe_getIntegerValue(camera, "Width", &width), 0);
    EXPECT_EQ(Gbe_forceCameraIp(session.board(), 0, kMac, kAddress, kMask, 0), GBE_ERROR_CAMERA_BUSY)
        << "connected";

    CameraHandle* other = nullptr;
    unsigned value = 0;
    ASSERT_EQ(Gbe_getFirstCamera(session.board(), 0, &other), 0);
    EXPECT_EQ(Gbe_readRegister(other, 0x000C, &value), 0) << "beside the connected one";
    EXPECT_EQ(value, 0x99U);
    EXPECT_EQ(Gbe_readRegister(other, 0x9000, &value), GBE_ERROR_TRANSPORT_LAYER) << "no such register";
    EXPECT_EQ(Gbe_setIntegerValue(camera, "Width", width / 2), 0) << "which is still the current one";

    ASSERT_EQ(Gbe_scanNetwork(session.board(), 0, 0), 0);
    EXPECT_EQ(Gbe_getCameraIp(camera, &address), 0);
    EXPECT_EQ(address, kAddress) << "as the camera says it";
    Gbe_freeCamera(other);
    Gbe_freeCamera(camera);
}

} // namespace
