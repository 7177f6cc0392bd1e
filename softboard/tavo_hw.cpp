#include "platform/tavo_hw.h"
