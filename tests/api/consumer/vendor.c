/* What a frame grabber's own hardware library would be: no board is there, and it says that it was asked. */
#include <stdio.h>

void* TavoInitAllHWEx(int board) {
    printf("the vendor's library was asked for board %d\n", board);
    return NULL;
}
