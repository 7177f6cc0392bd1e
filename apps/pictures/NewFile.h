// A file that is written under another name and takes its own when it is whole.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace pictures {

class NewFile {
public:
    // Of something there that is no regular file it is just the other end. Throws std::runtime_error: the
    // folder does not exist, or may not be written to.
    explicit NewFile(const std::string& name);
    // Removes what was not kept.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    std::FILE* stream() { return m_stream; }
    // Also tells, at keep(), when the disk is full.
    void write(const void* bytes, std::size_t size);
    // The file is whole: it is there under its name from now on. Throws std::runtime_error.
    void keep();
    // Throws std::runtime_error: "<name>: <what>".
    [[noreturn]] void fail(const std::string& what) const;

private:
    const std::string m_name;
    std::string m_temporary; // empty once it is kept, and when there is none
    std::FILE* m_stream = nullptr;
};

} // namespace pictures
