/* Reads a camera's width, halves it, and restores it.
 *   read_write [board [port]] */
#include "liomol/gige.h"

#include <stdio.h>
#include <stdlib.h>

static int failed(const char* what, int code) {
    fprintf(stderr, "%s: %s (%d): %s\n", what, Gbe_getErrorDescription(code), code, Gbe_getLastErrorDetail());
    return code;
}

static int halve_width(CameraHandle* camera) {
    long long width = 0;
    const char* model = NULL;
    int code = Gbe_getStringValue(camera, "DeviceModelName", &model);
    if (code != 0) {
        return failed("reading DeviceModelName", code);
    }
    code = Gbe_getIntegerValue(camera, "Width", &width);
    if (code != 0) {
        return failed("reading Width", code);
    }
    printf("%s: Width is %lld\n", model, width);
    code = Gbe_setIntegerValue(camera, "Width", width / 2);
    if (code != 0) {
        return failed("writing Width", code);
    }
    printf("Width was set to %lld\n", width / 2);
    return Gbe_setIntegerValue(camera, "Width", width);
}

int main(int argc, char** argv) {
    const int number = argc > 1 ? atoi(argv[1]) : 0;
    const unsigned port = argc > 2 ? (unsigned)atoi(argv[2]) : 0;
    BoardHandle* board = NULL;
    CameraHandle* camera = NULL;
    int code = Gbe_initBoard(number, 0, &board);
    if (code != 0) {
        failed("opening the board", code);
        return 1;
    }
    code = Gbe_scanNetwork(board, (int)port, 0);
    if (code == 0 && (code = Gbe_getFirstCamera(board, port, &camera)) != 0) {
        failed("looking for a camera", code);
    } else if (code == 0 && (code = Gbe_connectCamera(camera)) != 0) {
        failed("connecting", code);
    } else if (code == 0) {
        code = halve_width(camera);
    }
    Gbe_freeCamera(camera); /* disconnects too */
    Gbe_freeBoard(board);
    return code == 0 ? 0 : 1;
}
