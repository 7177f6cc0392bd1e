/* Saves an image of a camera as a PNM file, grey or with colours.
 *   save_image [board [port [file]]] */
#include "liomol/images.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int save(const GbeImage* image, const char* file) {
    const int colour = strncmp(image->pixelFormatName, "Mono", 4) != 0;
    const int form = colour ? GBE_PIXELS_RGB8 : GBE_PIXELS_MONO8;
    size_t size = 0;
    int code = Gbe_convertImage(image, form, NULL, &size);
    void* pixels = code == 0 ? malloc(size) : NULL;
    FILE* out = pixels != NULL ? fopen(file, "wb") : NULL;
    int good = out != NULL && (code = Gbe_convertImage(image, form, pixels, &size)) == 0;
    good = good && fprintf(out, "P%d\n%u %u\n255\n", colour ? 6 : 5, image->width, image->height) > 0;
    good = good && fwrite(pixels, 1, size, out) == size;
    good = (out == NULL || fclose(out) == 0) && good;
    free(pixels);
    if (good) {
        printf("%ux%u %s: %s\n", image->width, image->height, image->pixelFormatName, file);
    }
    return good || code != 0 ? code : GBE_ERROR_NOT_AVAILABLE;
}

int main(int argc, char** argv) {
    const unsigned port = argc > 2 ? (unsigned)atoi(argv[2]) : 0;
    BoardHandle* board = NULL;
    CameraHandle* camera = NULL;
    GbeStream* stream = NULL;
    GbeImage image;
    int code = Gbe_initBoard(argc > 1 ? atoi(argv[1]) : 0, 0, &board);
    code = code != 0 ? code : Gbe_scanNetwork(board, (int)port, 0);
    code = code != 0 ? code : Gbe_getFirstCamera(board, port, &camera);
    code = code != 0 ? code : Gbe_connectCamera(camera);
    code = code != 0 ? code : Gbe_openStream(camera, NULL, &stream); /* null: the usual options */
    code = code != 0 ? code : Gbe_startAcquisition(camera);
    code = code != 0 ? code : Gbe_waitImage(stream, 5000, &image);
    if (code == 0) { /* borrowed: its bytes lie where the packets were put together */
        code = image.status == GBE_IMAGE_COMPLETE ? save(&image, argc > 3 ? argv[3] : "image.pnm")
                                                  : GBE_ERROR_NOT_AVAILABLE;
        Gbe_giveBackImage(stream, image.id);
    } else if (code == GBE_ERROR_TIMEOUT) {
        char why[256] = "";
        unsigned size = sizeof why;
        Gbe_getStreamTrouble(stream, why, &size);
        fprintf(stderr, "%s\n", why);
    }
    if (code != 0) {
        fprintf(stderr, "%s (%d): %s\n", Gbe_getErrorDescription(code), code, Gbe_getLastErrorDetail());
    }
    if (stream != NULL) {
        Gbe_stopAcquisition(camera);
        Gbe_closeStream(stream);
    }
    Gbe_freeCamera(camera); /* disconnects too; null is ignored */
    Gbe_freeBoard(board);
    return code == 0 ? 0 : 1;
}
