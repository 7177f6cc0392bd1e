/* Works with several cameras at the same time: one thread for each, and each with a handle of its own.
 *   several_cameras [board] */
#include "liomol/gige.h"

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

enum { READS = 100 };

typedef struct {
    unsigned port;
    CameraHandle* camera;
    pthread_t thread;
    int code;
} Worker;

/* Calls on one board may come from many threads. Cameras of different ports do not wait for each other. */
static void* work(void* argument) {
    Worker* worker = argument;
    const CameraInfo* info = Gbe_getCameraInfo(worker->camera);
    long long width = 0;
    int reads = 0;
    worker->code = Gbe_connectCamera(worker->camera);
    while (worker->code == 0 && reads < READS) {
        Gbe_invalidateCache(worker->camera); /* or only the first read would ask the camera */
        worker->code = Gbe_getIntegerValue(worker->camera, "Width", &width);
        ++reads;
    }
    if (worker->code == 0) {
        printf("port %u: %s, Width %lld, read %d times\n", worker->port, info->modelName, width, reads);
    } else {
        fprintf(
            stderr, "port %u: %s (%d)\n", worker->port, Gbe_getErrorDescription(worker->code), worker->code);
    }
    Gbe_disconnectCamera(worker->camera);
    return NULL;
}

int main(int argc, char** argv) {
    Worker workers[GBE_PORTS];
    BoardHandle* board = NULL;
    int count = 0;
    int failed = 0;
    const int code = Gbe_initBoard(argc > 1 ? atoi(argv[1]) : 0, 0, &board);
    if (code != 0) {
        fprintf(stderr, "opening the board: %s (%d)\n", Gbe_getErrorDescription(code), code);
        return 1;
    }
    Gbe_scanNetwork(board, -1, 0); /* all ports */
    for (unsigned port = 0; port < GBE_PORTS; ++port) {
        Worker* worker = &workers[count];
        worker->port = port;
        if (Gbe_getFirstCamera(board, port, &worker->camera) == 0) {
            if (pthread_create(&worker->thread, NULL, work, worker) == 0) {
                ++count;
            } else {
                Gbe_freeCamera(worker->camera);
            }
        }
    }
    for (int i = 0; i < count; ++i) {
        pthread_join(workers[i].thread, NULL);
        failed += workers[i].code != 0;
        Gbe_freeCamera(workers[i].camera);
    }
    Gbe_freeBoard(board);
    printf("%d cameras, %d failed\n", count, failed);
    return count > 0 && failed == 0 ? 0 : 1;
}
