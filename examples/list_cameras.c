/* Lists the cameras behind the ports of a board.
 *   list_cameras [board] */
#include "liomol/gige.h"

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>

enum { kMostCameras = 64 };

/* A camera may call itself anything, also what would steer a terminal. */
static void print_text(const char* text, size_t size) {
    size_t i;
    for (i = 0; i < size && text[i] != 0; ++i) {
        putchar(isprint((unsigned char)text[i]) ? text[i] : '?');
    }
}

/* Picks the cameras of a port one after the other: a picked camera is in use until it is freed, so that each
 * is met once. */
static void list_port(BoardHandle* board, unsigned port) {
    CameraHandle* cameras[kMostCameras];
    int count = 0;
    while (count < kMostCameras && Gbe_getFirstCamera(board, port, &cameras[count]) == 0) {
        const CameraInfo* info = Gbe_getCameraInfo(cameras[count++]);
        printf(
            "port %u: %02x:%02x:%02x:%02x:%02x:%02x ", port, info->mac[0], info->mac[1], info->mac[2],
            info->mac[3], info->mac[4], info->mac[5]);
        print_text(info->manufacturerName, sizeof info->manufacturerName);
        putchar(' ');
        print_text(info->modelName, sizeof info->modelName);
        printf(" \"");
        print_text(info->userDefinedName, sizeof info->userDefinedName);
        printf("\"\n");
    }
    while (count > 0) {
        Gbe_freeCamera(cameras[--count]);
    }
}

int main(int argc, char** argv) {
    BoardHandle* board = NULL;
    unsigned port;
    int code = Gbe_initBoard(argc > 1 ? atoi(argv[1]) : 0, 0, &board);
    if (code != 0) {
        fprintf(
            stderr, "opening the board: %s (%d): %s\n", Gbe_getErrorDescription(code), code,
            Gbe_getLastErrorDetail());
        return 1;
    }
    code = Gbe_scanNetwork(board, -1, 0);
    for (port = 0; code == 0 && port < GBE_PORTS; ++port) {
        list_port(board, port);
    }
    Gbe_freeBoard(board);
    return code == 0 ? 0 : 1;
}
