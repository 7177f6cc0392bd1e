#include "platform/kemrt.h"
