# 32-bit x86, compiled by a 32-bit system's own compiler (scripts/i386 provides one). Floating point goes
# through SSE2 as on 64-bit x86: results then are the same to the last bit.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
