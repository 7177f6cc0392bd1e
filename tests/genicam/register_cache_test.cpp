// When a register goes to the device, and when it answers from its cache.
#include "genicam/device_fixture.h"

namespace test_support {
namespace {

TEST(RegisterCache, MakesExactlyTheseAccesses) {
    const std::string keeps =
        "#N -> 1r 0w; #N -> 0r 0w; #N=7 -> 0r 1w; #N -> 0r 0w; N -> 7; !stale; #N -> 1r 0w";
    const std::string forgetsWrites =
        "#N -> 1r 0w; #N -> 0r 0w; #N=7 -> 0r 1w; #N -> 1r 0w; N -> 7; !stale; #N -> 1r 0w";
    const std::string never =
        "#N -> 1r 0w; #N -> 1r 0w; #N=7 -> 0r 1w; #N -> 1r 0w; N -> 7; !stale; #N -> 1r 0w";
    const std::string low = "<LSB>4</LSB><MSB>7</MSB><Sign>Unsigned</Sign>";
    const std::string behindTheCache = "F -> 0; @0=0F 55; #F=10 -> 1r 1w; @0+2 -> AF 55; ";
    runScripts({
        {"write through", reg("N", 16, 4, caching("WriteThrough")), keeps},
        {"mode not given", reg("N", 16, 4), keeps},
        {"write around", reg("N", 16, 4, caching("WriteAround")), forgetsWrites},
        {"polled hourly", reg("N", 16, 4, caching("NoCache")), forgetsWrites},
        {"polled always", reg("N", 16, 4, caching("NoCache", 0)), never},

        {"field, write through", reg("F", 0, 2, low + caching("WriteThrough"), "MaskedIntReg"),
         behindTheCache + "#F -> 0r 0w; F -> 10"},

        // The index is read each time; that it has moved the register, only the address tells.
        {"moved",
         reg("Index", 0, 1, caching("NoCache", 0)) + reg("N", 256, 1, "<pIndex Offset='4'>Index</pIndex>"),
         "@256=01 00 00 00 02; N -> 1; #N -> 1r 0w; @0=01; #N -> 2r 0w; N -> 2; @0=02; N=9; @264+1 -> 09; "
         "@0=01; N -> 2"},
        {"invalidators reach the registers that name them",
         reg("I", 0, 4) + reg("C", 4, 4, "<pInvalidator>I</pInvalidator>") +
             reg("P", 8, 4, caching("NoCache") + "<pInvalidator>I</pInvalidator>") + reg("U", 12, 4),
         "I -> 0; C -> 0; P -> 0; U -> 0; I -> 0; #C -> 0r 0w; #P -> 0r 0w; #U -> 0r 0w; I=1; #C -> 1r 0w; "
         "#P -> 1r 0w; #U -> 0r 0w; I=2; #C -> 1r 0w; #C -> 0r 0w"},

        {"one access reads nothing twice",
         reg("V", 0, 1, caching("NoCache", 0)) + reg("C", 1, 1) + knife("A", "V+C+V", {"V V", "C C"}) +
             knife("B", "A+V*C", {"A A", "V V", "C C"}) + knife("N", "A+B+A", {"A A", "B B"}) +
             reg("At", 16, 1) + reg("M", 32, 1, "<pAddress>At</pAddress><pAddress>V</pAddress>") +
             knife("O", "M+M+N", {"M M", "N N"}),
         "#N -> 2r 0w; #N -> 1r 0w; #O -> 3r 0w; #O -> 1r 0w"},
        {"what is read again unchanged makes nothing due",
         reg("N", 0, 1, "<pInvalidator>M</pInvalidator>") + reg("M", 4, 1, "<pInvalidator>N</pInvalidator>") +
             reg("A", 8, 1, caching("WriteAround") + "<pInvalidator>N</pInvalidator>"),
         "N -> 0; M -> 0; A -> 0; #N -> 0r 0w; #M -> 0r 0w; #A -> 0r 0w; !stale; #A -> 1r 0w; #M -> 1r 0w; "
         "#N -> 1r 0w; #A -> 0r 0w; #M -> 0r 0w; !stale; @4=01; A -> 0; N -> 0; M -> 1; #A -> 1r 0w; #N -> 1r 0w; "
         "#M -> 0r 0w"},
        {"read ahead: addresses first, then what lies there",
         reg("At", 0, 4) + reg("Far", 4, 4, "<pAddress>At</pAddress>") + reg("N", 8, 4) +
             reg("Polled", 12, 4, caching("NoCache")) + reg("Always", 16, 4, caching("NoCache", 0)) +
             integer("F", below("N") + "<pMax>Far</pMax>") + reg("Long", 256, 513, "", "StringReg") +
             integer("Off", below("Hidden") + "<pIsAvailable>N</pIsAvailable>") +
             "<IntReg Name='WO'><Address>24</Address><Length>4</Length><AccessMode>WO</AccessMode>"
             "<pPort>Device</pPort></IntReg>" +
             reg("Hidden", 20, 4, caching("NoCache", 0)),
         "!check; @0=20; #!ahead -> 2r 0w; #At -> 0r 0w; #Far -> 0r 0w; #F -> 0r 0w; #Polled -> 0r 0w; "
         "#Always -> 1r 0w; #Long -> 1r 0w; #!ahead -> 0r 0w; At=40; #!ahead -> 1r 0w; #Far -> 0r 0w; N=1; "
         "#Polled -> 0r 0w; Polled=1; #!ahead -> 1r 0w; #Off -> 1r 0w; !fail; Far -> 0; #!ahead -> 0r 0w"},
        {"no port", "<IntReg Name='N'><Length>4</Length></IntReg>",
         "N -> port not available; N=1 -> port not available"},
    });
}

TEST(RegisterCache, PortFailuresKeepTheirTypeOnReadsAndOnlyTheirCodeOnWrites) {
    Device device(inRoot(reg("N", 0, 4)));
    auto& node = device.as<tavo::ImplGenICamIntReg>("N");
    device.port.failing = true;
    EXPECT_THROW(node.getValue(), tavo::GicTransportLayerException);
    try {
        node.setValue(1);
        FAIL();
    } catch (const tavo::GicTransportLayerException&) {
        FAIL() << "the base class is expected";
    } catch (const tavo::GenICamException& failure) {
        EXPECT_EQ(failure.getErrno(), status::TransportLayer);
    }
}

} // namespace
} // namespace test_support
