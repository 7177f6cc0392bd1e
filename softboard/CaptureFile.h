// A pcap file that frames are recorded in as they pass.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace softboard {

// Classic pcap with nanosecond stamps and link type Ethernet. Any thread may record. Each record goes to the
// file with one write before `record` returns; the first write that fails ends the recording with a message.
class CaptureFile {
public:
    // A new file in place of an earlier one of that name; "%p" in the name becomes the process id, so that
    // processes that share a configuration do not share the file. Null, and `error` set, when it cannot be
    // made.
    static std::shared_ptr<CaptureFile> create(const std::string& name, std::string& error);

    ~CaptureFile();
    CaptureFile(const CaptureFile&) = delete;
    CaptureFile& operator=(const CaptureFile&) = delete;

    void record(const std::uint8_t* frame, std::size_t size);

private:
    CaptureFile(std::string name, int file) : m_name(std::move(name)), m_file(file) {}
    bool write(const void* bytes, std::size_t size);

    const std::string m_name;
    std::mutex m_mutex; // guards what follows, and keeps stamps ascending in the file
    int m_file;
    std::vector<std::uint8_t> m_record;
};

} // namespace softboard
