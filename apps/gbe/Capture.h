// The traffic of ports on its way into a file, while somebody uses them: from the network interfaces, with
// all that Linux sees there, or where a port is none from the library, with all that this process sends and
// receives.
#pragma once

#include "Selection.h"
#include "common/PcapngFile.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace gbe {

struct CapturePort {
    int board = 0;
    unsigned port = 0;
    std::string interface; // empty: it is none
    net::Mac mac;          // none when nobody knows them
    net::Ipv4 ip;
    net::Ipv4 mask;
};

// Those of the selection, as board's file and service tell of them; no board is opened for it.
std::vector<CapturePort> capturePorts(const Selection& selection);

class Capture {
public:
    using Frame = std::vector<std::uint8_t>;
    using Edit = std::function<void(Frame&)>;

    enum class Scope { Control, All }; // with image streams

    // `edit` (which may be empty) changes frames before they are written. The file outlives it.
    Capture(common::PcapngFile& file, Edit edit = {});
    // Stops.
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    // Begins to listen to an interface; false, and why in one sentence, where this user has no right to.
    bool addInterface(const CapturePort& port, Scope scope, std::string& error) {
        return addInterface(port, port, scope, error);
    }
    // The same, where the file is to say something else of it.
    bool addInterface(const CapturePort& port, const CapturePort& shown, Scope scope, std::string& error);
    // Begins to listen to this process instead. One Capture at a time.
    void addOwnFrames(const CapturePort& port);

    // Ends, with all that has come in so far in the file; `comment` stands at its end. Throws what the file's
    // sink has thrown. Again does nothing.
    void stop(const std::string& comment = {});

    std::uint64_t frames() const { return m_frames; }
    // That came too fast to be written; known when it has stopped.
    std::uint64_t lost() const { return m_lost; }

private:
    struct Source;

    static void hear(void* user, int board, unsigned port, int sent, const void* frame, unsigned length);
    Source& add(const CapturePort& port, const std::string& filter);
    void listen(Source& source);
    void write(Source& source, std::uint64_t time, std::span<const std::uint8_t> frame, bool isSent);

    common::PcapngFile& m_file; // under m_writing, once it listens
    const Edit m_edit;
    std::mutex m_writing;
    std::exception_ptr m_error; // under m_writing: nothing is written any more
    std::vector<std::unique_ptr<Source>> m_sources;
    bool m_hearsItself = false;
    bool m_isStopped = false;
    std::atomic<bool> m_stop{false};
    std::atomic<std::uint64_t> m_frames{0};
    std::uint64_t m_lost = 0;
};

// "Linux 6.1.0 x86_64".
std::string systemText();

} // namespace gbe
