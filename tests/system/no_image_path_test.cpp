// A board whose own library has no image path, beside which another one with a path is loaded.
#include "liomol/images.h"
#include "platform/image_path.h"
#include "system/session.h"

// What the library finds first; the boards are opened by another object.
extern "C" __attribute__((visibility("default"))) const TavoImagePath* tavo_imagePath(unsigned);
const TavoImagePath* tavo_imagePath(unsigned /*version*/) {
    ADD_FAILURE() << "a path that is not the board's was asked";
    return nullptr;
}

TEST(NoImagePath, OpensNoStream) {
    Session session;
    session.rig.hang(0, 0);
    CameraHandle* const camera = session.connectFirst();
    GbeStream* stream = nullptr;
    EXPECT_EQ(Gbe_openStream(camera, nullptr, &stream), GBE_ERROR_NOT_IMPLEMENTED);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(Gbe_startAcquisition(camera), 0) << "which needs none";
    EXPECT_EQ(Gbe_stopAcquisition(camera), 0);
    Gbe_freeCamera(camera);
}
