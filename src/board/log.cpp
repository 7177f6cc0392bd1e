#include "board/log.h"

Q_LOGGING_CATEGORY(boardLog, "liomol.board", QtInfoMsg)
