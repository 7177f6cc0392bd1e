/* The public headers are C99, and null handles and numbers out of range give their documented codes. */
#include "liomol/diagnostics.h"
#include "liomol/features.h"
#include "liomol/images.h"

#include <stdio.h>
#include <string.h>

static int failures = 0;

#define EXPECT(expected, call)                                                                               \
    do {                                                                                                     \
        const int result = (call);                                                                           \
        if (result != (expected)) {                                                                          \
            printf("%s gives %d, not %d\n", #call, result, (int)(expected));                                 \
            ++failures;                                                                                      \
        }                                                                                                    \
    } while (0)

static void boards(void) {
    BoardHandle* board = (BoardHandle*)&failures;
    int up = 0;
    EXPECT(GBE_ERROR_BOARD_INITIALIZATION, Gbe_initBoard(-1, 0, &board));
    EXPECT(1, board == NULL);
    EXPECT(GBE_ERROR_BOARD_INITIALIZATION, Gbe_initBoard(8, GBE_SERVICE_MODE, &board));
    EXPECT(GBE_ERROR_BOARD_DOES_NOT_EXIST, Gbe_getLinkState(7, 0, &up));
}

static void refusals(void) {
    CameraHandle* camera = NULL;
    CameraInfo* info = NULL;
    const unsigned char mac[6] = {0};
    const char* text = NULL;
    unsigned number = 1;
    int up = 0;
    long long integer = 0;
    GbeLinkStatistics link;
    GbeControlStatus control = {GBE_CONTROL_UNKNOWN, GBE_LOSS_NEVER_HELD, 0, 0};
    const int results[] = {
        Gbe_initBoard(0, 0, NULL),
        Gbe_scanNetwork(NULL, 0, 0),
        Gbe_getCameraCount(NULL, 0),
        Gbe_getLinkState(0, 0, NULL),
        Gbe_getLinkState(8, 0, &up),
        Gbe_getPortAddress(NULL, 0, NULL, NULL, NULL),
        Gbe_forceCameraIp(NULL, 0, mac, 0, 0, 0),
        Gbe_getFirstCamera(NULL, 0, &camera),
        Gbe_getCameraByIp(NULL, 0, 0, &camera),
        copyCameraInfo(NULL, &info),
        Gbe_getCameraIp(NULL, &number),
        Gbe_readRegister(NULL, 0, &number),
        Gbe_connectCamera(NULL),
        Gbe_disconnectCamera(NULL),
        Gbe_getControlStatus(NULL, &control),
        Gbe_switchCameraConnection(NULL, NULL, 0),
        Gbe_getIntegerValue(NULL, "Width", &integer),
        Gbe_executeCommand(NULL, "AcquisitionStart"),
        Gbe_getValueAsString(NULL, "Width", NULL, &number),
        Gbe_getFeatureName(NULL, 0, &text),
        Gbe_getFeatureList(NULL, "Width", GBE_LIST_SELECTED, NULL, &number),
        Gbe_readMemory(NULL, 0, &integer, sizeof integer),
        Gbe_watchFeature(NULL, "Width", NULL, NULL),
        Gbe_lockTLParams(NULL),
        Gbe_getLinkStatistics(NULL, &link),
        Gbe_getAllLinkStatistics(NULL, &number),
        Gbe_invalidateCache(NULL),
        Gbe_getGenICamXML(NULL, NULL, &number),
        Gbe_startAcquisition(NULL)};
    size_t i = 0;
    for (i = 0; i < sizeof results / sizeof *results; ++i) {
        if (results[i] != GBE_ERROR_ILLEGAL_PARAMETER) {
            printf("call %d of the list gives %d\n", (int)i, results[i]);
            ++failures;
        }
    }
    EXPECT(1, Gbe_getCameraInfo(NULL) == NULL);
    Gbe_freeBoard(NULL);
    Gbe_freeCamera(NULL);
}

/* No value that leads nowhere is looked at. */
static void images(void) {
    GbeStream* stream = (GbeStream*)&failures;
    GbeStreamOptions options;
    GbeStreamStatistics statistics;
    GbeImage image = {0};
    unsigned size = 0;
    size_t bytes = 0;
    EXPECT(GBE_ERROR_ILLEGAL_PARAMETER, Gbe_initStreamOptions(NULL));
    EXPECT(GBE_SUCCESS, Gbe_initStreamOptions(&options));
    EXPECT(GBE_ERROR_ILLEGAL_PARAMETER, Gbe_openStream(NULL, &options, &stream));
    EXPECT(1, stream == NULL);
    EXPECT(GBE_ERROR_ILLEGAL_PARAMETER, Gbe_waitImage(NULL, 0, &image));
    stream = (GbeStream*)&failures;
    EXPECT(GBE_ERROR_ILLEGAL_PARAMETER, Gbe_waitImage(stream, 0, &image));
    EXPECT(GBE_ERROR_ILLEGAL_PARAMETER, Gbe_giveBackImage(stream, 1));
    EXPECT(GBE_ERROR_ILLEGAL_PARAMETER, Gbe_getStreamStatistics(stream, &statistics));
    EXPECT(GBE_ERROR_ILLEGAL_PARAMETER, Gbe_getStreamTrouble(stream, NULL, &size));
    EXPECT(GBE_ERROR_ILLEGAL_PARAMETER, Gbe_closeStream(stream));
    EXPECT(GBE_ERROR_ILLEGAL_PARAMETER, Gbe_convertImage(&image, GBE_PIXELS_RGB16 + 1, NULL, &bytes));
    EXPECT(GBE_ERROR_NOT_IMPLEMENTED, Gbe_convertImage(&image, GBE_PIXELS_RGB8, NULL, &bytes));
}

int main(void) {
    EXPECT(0, strcmp(Gbe_getErrorDescription(GBE_ERROR_ILLEGAL_NODE), "illegal node"));
    EXPECT(1, strlen(Gbe_getVersion()) >= strlen("0.0.0"));
    EXPECT(182, sizeof(CameraInfo));
    boards();
    refusals();
    images();
    return failures != 0;
}
