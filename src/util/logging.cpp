#include "util/logging.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

struct Log {
    std::mutex mutex;
    bool opened = false;
    std::unique_ptr<std::FILE, CloseFile> file;
};

// Never destroyed: objects that end after main() may still log. Each line is flushed.
Log& theLog() {
    static Log& log = *new Log;
    return log;
}

} // namespace

int lprintf(const char* format, ...) {
    Log& log = theLog();
    const std::lock_guard guard(log.mutex);
    if (!log.opened) {
        log.file.reset(std::fopen("log.txt", "w+"));
        log.opened = true;
    }
    std::va_list arguments;
    va_start(arguments, format);
    if (log.file) {
        std::va_list again;
        va_copy(again, arguments);
        std::vfprintf(log.file.get(), format, again);
        va_end(again);
        std::fflush(log.file.get());
    }
    std::vprintf(format, arguments);
    va_end(arguments);
    return 0;
}

void ipdprintf(...) {}

void log_packet(int, int, void*, unsigned) {}

void log_transport_layer_exception(
    int, long long, long long, bool, int, int, const PacketCounters&, const PacketCounters&, const QDateTime&,
    const QDateTime&) {}
