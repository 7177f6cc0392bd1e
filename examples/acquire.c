/* Lets a camera send images for a while. Enumerations and integers are read and written on the way.
 *   acquire [board [port]] */
#define _POSIX_C_SOURCE 199309L

#include "liomol/gige.h"

#include <stdio.h>
#include <stdlib.h>
#include <time.h>

static int failed(const char* what, int code) {
    if (code != 0) {
        fprintf(
            stderr, "%s: %s (%d): %s\n", what, Gbe_getErrorDescription(code), code, Gbe_getLastErrorDetail());
    }
    return code;
}

static void wait_ms(long ms) {
    const struct timespec time = {ms / 1000, ms % 1000 * 1000000};
    nanosleep(&time, NULL);
}

/* The features here are those that every GigE Vision camera has. */
static int acquire(CameraHandle* camera) {
    const char* format = NULL;
    long long size = 0;
    int code = Gbe_setEnumerationValue(camera, "AcquisitionMode", "Continuous");
    if (code == 0) {
        code = Gbe_getEnumerationValue(camera, "PixelFormat", &format);
    }
    if (code == 0) {
        code = Gbe_getIntegerValue(camera, "PayloadSize", &size);
    }
    if (failed("setting up", code) != 0) {
        return code;
    }
    printf("sending images of %lld bytes, %s\n", size, format);
    /* While images come, what they depend on must not change. */
    code = Gbe_lockTLParams(camera);
    if (code == 0) {
        code = Gbe_startAcquisition(camera);
    }
    if (code == 0) {
        wait_ms(500);
        code = Gbe_stopAcquisition(camera);
    }
    if (code == 0) {
        printf("the camera has sent images for half a second\n");
    }
    failed("acquiring", code); /* the detail is that of the last call that failed */
    Gbe_unlockTLParams(camera);
    return code;
}

int main(int argc, char** argv) {
    const int number = argc > 1 ? atoi(argv[1]) : 0;
    const unsigned port = argc > 2 ? (unsigned)atoi(argv[2]) : 0;
    BoardHandle* board = NULL;
    CameraHandle* camera = NULL;
    int code = failed("opening the board", Gbe_initBoard(number, 0, &board));
    if (code == 0) {
        code = failed("scanning", Gbe_scanNetwork(board, (int)port, 0));
    }
    if (code == 0) {
        code = failed("looking for a camera", Gbe_getFirstCamera(board, port, &camera));
    }
    if (code == 0) {
        code = failed("connecting", Gbe_connectCamera(camera));
    }
    if (code == 0) {
        code = acquire(camera);
    }
    Gbe_freeCamera(camera); /* disconnects too */
    Gbe_freeBoard(board);
    return code == 0 ? 0 : 1;
}
