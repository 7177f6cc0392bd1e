#include "liomol/gige.h"

#include <stdio.h>

int main(void) {
    BoardHandle* board = NULL;
    const int result = Gbe_initBoard(0, 0, &board);
    printf("liomol %s: %s\n", Gbe_getVersion(), Gbe_getErrorDescription(result));
    return result == GBE_ERROR_BOARD_INITIALIZATION ? 0 : 1;
}
