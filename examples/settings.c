/* Keeps a camera's features in a file, and brings them back from it.
 *   settings save|restore FILE [board [port]] */
#include "liomol/settings.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static char text[1 << 20];

static int save(CameraHandle* camera, const char* name) {
    unsigned size = sizeof text; /* with the NUL behind the text */
    FILE* file;
    int code = Gbe_saveSettings(camera, 0, text, &size);
    if (code != 0) {
        return code;
    }
    file = fopen(name, "wb");
    if (file == NULL || fwrite(text, 1, size - 1, file) != size - 1) {
        perror(name);
        code = GBE_ERROR_FILE_DOES_NOT_EXIST;
    }
    if (file != NULL) {
        fclose(file);
    }
    return code;
}

static int restore(CameraHandle* camera, const char* name) {
    GbeLoadCounts counts = {0};
    const char* report = "";
    FILE* file = fopen(name, "rb");
    int code;
    unsigned size;
    if (file == NULL) {
        perror(name);
        return GBE_ERROR_FILE_DOES_NOT_EXIST;
    }
    size = (unsigned)fread(text, 1, sizeof text, file);
    fclose(file);
    code = Gbe_loadSettings(camera, text, size, GBE_LOAD_VERIFY, &counts, &report);
    printf(
        "%u values: %u set, %u were so already, %u refused\n%s", counts.values, counts.changed, counts.same,
        counts.refused, report);
    return code;
}

int main(int argc, char** argv) {
    const int number = argc > 3 ? atoi(argv[3]) : 0;
    const unsigned port = argc > 4 ? (unsigned)atoi(argv[4]) : 0;
    BoardHandle* board = NULL;
    CameraHandle* camera = NULL;
    int code;
    if (argc < 3 || (strcmp(argv[1], "save") != 0 && strcmp(argv[1], "restore") != 0)) {
        fprintf(stderr, "usage: settings save|restore FILE [board [port]]\n");
        return 2;
    }
    code = Gbe_initBoard(number, 0, &board);
    if (code == 0) {
        code = Gbe_scanNetwork(board, (int)port, 0);
    }
    if (code == 0) {
        code = Gbe_getFirstCamera(board, port, &camera);
    }
    if (code == 0) {
        code = Gbe_connectCamera(camera);
    }
    if (code == 0) {
        code = argv[1][0] == 's' ? save(camera, argv[2]) : restore(camera, argv[2]);
    }
    if (code != 0) {
        fprintf(stderr, "%s (%d)\n", Gbe_getErrorDescription(code), code);
    }
    Gbe_freeCamera(camera); /* disconnects too */
    Gbe_freeBoard(board);
    return code == 0 ? 0 : 1;
}
