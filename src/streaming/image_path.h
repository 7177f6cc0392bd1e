// Where images come from: the path that the hardware's library brings along, if it does.
#pragma once

#include "platform/image_path.h"

namespace streaming {

// Null where the library that opens boards has none. Any thread.
const TavoImagePath* findImagePath();

// What there is to tell of a result that is a failure (util/error_detail.h).
const char* sentenceOf(int pathResult);

// The status of the C interface that a result of the path amounts to.
int statusOf(int pathResult);

} // namespace streaming
