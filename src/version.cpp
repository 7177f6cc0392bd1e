// The shared library needs a source of its own; everything else comes from the folders' archives.
extern "C" __attribute__((visibility("default"))) const char* Gbe_getVersion() {
    return LIOMOL_VERSION;
}
