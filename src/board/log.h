// What this folder tells whoever looks for a fault, at debug level: "liomol.board.debug" switches it on.
#pragma once

#include <QtCore/QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(boardLog)
