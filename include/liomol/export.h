// Marks what the shared library shows to its users.
#pragma once

#define LIOMOL_API __attribute__((visibility("default")))
